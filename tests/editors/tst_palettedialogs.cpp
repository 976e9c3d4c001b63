#include <ember/embersprites.h>
#include <tests/editors/tablefield.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/told.h>

#include <kilnx/editors/palettepreview.h>
#include <kilnx/editors/remapdlg.h>
#include <kilnx/forms/sprimport.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <random>

using namespace Kiln;

namespace
{

using Steps = QStringList;

/// Presses keys in the widget that stands before the colon, as in "reversed: Space".
void press(const QDialog *dialog, const QString &step)
{
    auto *widget = dialog->findChild<QWidget *>(step.section(": ", 0, 0));
    QVERIFY2(widget, qPrintable(step));
    for (const QString &key : step.section(": ", 1).split(' '))
        QTest::keyClick(widget, Qt::Key(QKeySequence(key)[0]));
}

QString told(int mode, int row, bool reversed = false)
{
    return QString("mode %1 row %2%3").arg(mode).arg(row).arg(reversed ? " reversed" : "");
}

} // namespace

/// The dialogs in which palettes are chosen, driven by keys alone.
class tst_palettedialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_host.reset();
        m_host = std::make_unique<TestHost>();
        m_list = std::make_unique<QStringListModel>(QStringList{"stone", "moss", "ash"});
    }

    void cleanup() { QCOMPARE(m_host->dialogs().finish(), QString()); }

    void choosesAPalette_data()
    {
        const auto add = columns<QStringList, int, Steps, QString>("names", "row", "steps", "told");
        const QStringList names{"stone", "moss", "ash"};
        add("nothing changed", names, 1, {"reversed: Tab"}, told(1, 1));
        add("adapted to the sprite's own", names, 1, {"palette_modes: Down"}, told(2, 1));
        add("adapted to another", names, 0, {"palette_modes: Down", "palettes: Down Down"},
            told(2, 2));
        add("exchanged", names, 2, {"palette_modes: Down Down", "palettes: Up"}, told(3, 1));
        add("the first, if there was none", names, -1, {"palette_modes: Down"}, told(2, 0));
        add("reversed", names, 0, {"reversed: Space"}, told(1, 0, true));
        add("canceled", names, 1,
            {"palette_modes: Down", "palettes: Down", "reversed: Space", "CANCEL"}, told(1, 1));
        add("no palettes: no mode that needs one", {}, -1, {"palette_modes: Down Down"},
            told(1, -1));
        add("the chosen one is removed", names, 0, {"palette_modes: Down", "TAKE 0"}, told(2, 0));
        add("all are removed", names, 1, {"palette_modes: Down", "EMPTY"}, told(1, -1));
    }

    void choosesAPalette()
    {
        const auto [names, first, steps, expected] = row<QStringList, int, Steps, QString>();
        m_list->setStringList(names);
        QStringList previews;
        PalDlg dialog(m_host->mainWindow(), m_list.get(), first,
                      [&previews](int mode, int row, bool reversed) {
                          previews << told(mode, row, reversed);
                          QImage picture(1, 2, QImage::Format_RGB32);
                          picture.fill(Qt::red);
                          return picture;
                      });
        script(steps);
        dialog.exec();
        QCOMPARE(told(dialog.mode(), dialog.row(), dialog.isReversed()), expected);
        // What it showed last is what was taken, scaled up in whole.
        if (dialog.result() == QDialog::Accepted)
            QCOMPARE(previews.last(), expected);
        auto *preview = dialog.findChild<QLabel *>("preview");
        const QImage shown = preview->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(shown.size(), QSize(128, 256));
        QCOMPARE(shown.pixelColor(100, 200), QColor(Qt::red));
        const QImage label = preview->grab().toImage(); // and in the middle
        QCOMPARE(label.pixelColor(label.rect().center()), QColor(Qt::red));
        for (const int x : {label.width() / 8, label.width() * 7 / 8})
            QVERIFY(label.pixelColor(x, label.height() / 2) != QColor(Qt::red));
    }

    /// The engine's own way to take a picture is the plain method.
    void previewIsWhatTheSpriteShows()
    {
        std::mt19937 random(20261122);
        const std::unique_ptr<EmberSprites, Release> sprites(new EmberSprites(StreamCache::Memory));
        for (int i = 0; i < 3; ++i) {
            RGBA colors[256];
            for (RGBA &color : colors)
                color = fromQRgb(random() | 0xFF000000);
            sprites->palettes()->add(colors, i, false);
        }
        sprites->insert(0, "shown", QImage());
        for (int round = 0; round < 60; ++round) {
            const bool indexed = random() % 2;
            QImage picture(1 + int(random() % 19), 1 + int(random() % 19),
                           indexed ? QImage::Format_Indexed8 : QImage::Format_ARGB32);
            QVector<QRgb> table(1 + int(random() % 256));
            for (QRgb &color : table)
                color = random() | 0xFF000000;
            if (indexed)
                picture.setColorTable(table);
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x)
                    picture.setPixel(
                        x, y, indexed ? random() % unsigned(table.size()) : random() | 0xFF000000);
            }
            const int mode = 1 + int(random() % 3);
            const bool reversed = random() % 2;
            // Without indices there is nothing to exchange: the sprite takes the nearest colours.
            const int row = int(random() % 3);
            const QImage preview =
                palettePreview(picture, sprites->palettes())(mode, row, reversed);
            sprites->at(0)->setImage(picture, reversed, mode,
                                     sprites->palettes()->at(unsigned(row)));
            QCOMPARE(preview.convertToFormat(QImage::Format_ARGB32),
                     sprites->at(0)->image().convertToFormat(QImage::Format_ARGB32));
        }

        // A large one is cut down, never up, and keeps its indices for the exchange.
        QImage large(1024, 512, QImage::Format_Indexed8);
        large.setColorTable({0xFF102030, 0xFF405060});
        large.fill(1);
        auto preview = palettePreview(large, sprites->palettes());
        const QRgb second = toQRgb(sprites->palettes()->at(2)->colors()[1]);
        QCOMPARE(preview(3, 2, false).size(), QSize(256, 128));
        QCOMPARE(preview(3, 2, false).pixel(200, 100), second);
        QCOMPARE(preview(3, -1, false).pixel(200, 100), QRgb(0xFF405060));
        QVERIFY(palettePreview(QImage(), nullptr)(2, 0, true).isNull());
    }

    void importsFiles_data()
    {
        const auto add = columns<bool, Steps, QString>("pictures", "steps", "told");
        add("names from the files", true, {"files: Home"}, "a.b:1:-1 c:1:-1 no suffix:1:-1");
        add("one choice for all", true, {"palette_modes: Down", "palettes: Down"},
            "a.b:2:2 c:2:2 no suffix:2:2");
        add("one for a single file", true, {"files: Down", "palette_modes: Down Down"},
            "a.b:1:-1 c:3:1 no suffix:1:-1");
        add("a name is typed", false, {"files: Down F2", "EDIT walk"},
            "a.b:1:-1 walk:1:-1 no suffix:1:-1");
        add("its palette is removed", true, {"palette_modes: Down", "TAKE 1"},
            "a.b:2:1 c:2:1 no suffix:2:1");
        add("all palettes are removed", true, {"palette_modes: Down", "EMPTY"},
            "a.b:1:-1 c:1:-1 no suffix:1:-1");
        add("canceled", true, {"CANCEL"}, "");
    }

    void importsFiles()
    {
        const auto [pictures, steps, expected] = row<bool, Steps, QString>();
        const QStringList files{"/tmp/a.b.png", "/tmp/c.pcx", "/x/no suffix"};
        const auto dialog =
            pictures
                ? std::make_unique<SprImport>(m_host->mainWindow(), "Add", files, m_list.get(), 1)
                : std::make_unique<SprImport>(m_host->mainWindow(), "Add", files);
        QCOMPARE(dialog->findChild<QGroupBox *>() != nullptr, pictures);
        QCOMPARE(dialog->windowTitle(), QString("Add"));
        script(steps);
        dialog->exec();
        QStringList told;
        const QAbstractItemModel *shown = dialog->findChild<QAbstractItemView *>("files")->model();
        for (const SprImport::Answer &answer : dialog->answers()) {
            const QString summary =
                shown->index(told.size(), shown->columnCount() - 1).data().toString();
            const char *const begins[] = {"the image's", "adapted to", "exchanged with"};
            QVERIFY2(!pictures || summary.startsWith(begins[answer.mode - 1]), qPrintable(summary));
            told << QString("%1:%2:%3").arg(answer.identifier).arg(answer.mode).arg(answer.palette);
        }
        QCOMPARE(told.join(' '), expected);
    }

    void remaps()
    {
        std::unique_ptr<EmberSprites, Release> sprites(new EmberSprites(StreamCache::Memory));
        RGBA colors[256] = {};
        sprites->palettes()->add(colors, "stone", false);
        RemapDlg dialog(nullptr);
        const auto buttons = dialog.findChildren<QPushButton *>(); // to delete, to clear, OK
        const auto *table = dialog.findChild<QTableView *>("remap_table");
        QAction *add = table->actions().value(0);
        const auto canChange = [&] {
            return QList<bool>{add->isEnabled(), buttons[0]->isEnabled(), buttons[1]->isEnabled()};
        };
        QCOMPARE(canChange(), QList<bool>({false, false, false}));
        add->trigger();
        // What is not the row of a palette is edited as everywhere.
        QStandardItemModel plain(1, 1);
        const QModelIndex cell = plain.index(0, 0);
        plain.setData(cell, "word");
        dialog.setPalettes(sprites->palettes());
        QAbstractItemDelegate *delegate = table->itemDelegate();
        const std::unique_ptr<QWidget> field(delegate->createEditor(nullptr, {}, cell));
        delegate->setEditorData(field.get(), cell);
        auto *line = qobject_cast<QLineEdit *>(field.get());
        QVERIFY(line && line->text() == "word");
        line->setText("other");
        delegate->setModelData(line, &plain, cell);
        QCOMPARE(cell.data().toString(), QString("other"));
        QCOMPARE(canChange(), QList<bool>({true, false, false}));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        add->trigger();
        QCOMPARE(canChange(), QList<bool>({true, true, true}));
        add->trigger();
        QCOMPARE(table->selectionModel()->selectedRows(),
                 QModelIndexList{table->model()->index(1, 0)});
        QCOMPARE(dialog.size(), QSize(420, 320));
        QCOMPARE(table->accessibleName(), QString("Remap"));
        QCOMPARE(table->horizontalHeader()->length(), table->viewport()->width());
        QVERIFY(!table->verticalHeader()->isVisible() && table->height() > 200);
        QCOMPARE(table->contextMenuPolicy(), Qt::ActionsContextMenu);
        QVERIFY(buttons[0]->mapTo(&dialog, QPoint()).y() > table->geometry().bottom());
        QStandardItemModel number(1, 1);
        number.setData(number.index(0, 0), 1);
        sprites.reset();
        const std::unique_ptr<QWidget> spin(
            delegate->createEditor(nullptr, {}, number.index(0, 0)));
        QVERIFY(qobject_cast<QSpinBox *>(spin.get()));
        for (QPushButton *button : {buttons[0], buttons[1]})
            button->click();
        QCoreApplication::processEvents();
        QCOMPARE(canChange(), QList<bool>({false, false, false}));
    }

    void listsEndMeanwhile_data()
    {
        const auto add = columns<bool>("imports");
        add("palette", false);
        add("import", true);
    }

    void listsEndMeanwhile()
    {
        const auto [imports] = row<bool>();
        std::unique_ptr<QDialog> dialog;
        if (imports)
            dialog = std::make_unique<SprImport>(nullptr, "Add", QStringList{"a"}, m_list.get(), 1);
        else
            dialog = std::make_unique<PalDlg>(nullptr, m_list.get(), 2);
        script({"palette_modes: Down", "END"});
        QCOMPARE(dialog->exec(), int(QDialog::Rejected));
        QCoreApplication::processEvents();
        if (imports)
            QVERIFY(static_cast<SprImport *>(dialog.get())->answers().isEmpty());
        else
            QCOMPARE(static_cast<PalDlg *>(dialog.get())->mode(), 1);
    }

private:
    /// What happens while a dialog is open, by the first word of a row's steps.
    void meanwhile(const QString &event)
    {
        if (event == "END")
            m_list.reset();
        else if (event.startsWith("TAKE"))
            m_list->removeRows(event.mid(5).toInt(), 1);
        else if (event == "EMPTY")
            m_list->setStringList({});
    }

    /// Runs the steps in the dialog, and ends it by its last one or by itself.
    void script(const Steps &steps)
    {
        m_host->dialogs().expectDialog([this, steps](QDialog *dialog) {
            QCOMPARE(misplaced(*dialog), QStringList());
            for (const QString &step : steps) {
                if (step.contains(": "))
                    press(dialog, step);
                else if (step.startsWith("EDIT"))
                    typeIntoTable(dialog, step.mid(5));
                else
                    meanwhile(step);
            }
            if (m_list)
                QTest::keyClick(dialog, steps.last() == "CANCEL" ? Qt::Key_Escape : Qt::Key_Return);
        });
    }

    std::unique_ptr<TestHost> m_host;
    std::unique_ptr<QStringListModel> m_list;
};

QTEST_MAIN(tst_palettedialogs)
#include "tst_palettedialogs.moc"
