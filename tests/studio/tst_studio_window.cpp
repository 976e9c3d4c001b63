#include "windowtest.h"

#include <hostkit/keyspage.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/shortcuts.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>

using namespace HostKit;
using namespace Studio;

// What the window shows of files and projects, and how its parts are reached.
/// Another language: each text between marks.
class Marked : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *text, const char *, int) const override
    {
        return '<' + QString::fromUtf8(text) + '>';
    }
};

class tst_studio_window : public WindowTest
{
    Q_OBJECT

private slots:
    void languageIsChangedAtOnce()
    {
        open("heroes/wren/air.glow");
        const auto texts = [this] {
            QStringList shown{m_window->findChild<StatusFields *>()->field(0),
                              view()->accessibleName()};
            const QList<QAction *> all = m_window->findChildren<QAction *>();
            for (const QAction *action : all) {
                if (action->objectName().startsWith("code_"))
                    shown += action->text();
            }
            return shown;
        };
        const QStringList before = texts();
        QVERIFY(before.size() > 10);
        Marked marked;
        QCoreApplication::installTranslator(&marked);
        QCoreApplication::processEvents();
        for (const QString &text : texts())
            QVERIFY2(text.startsWith('<') && text.endsWith('>'), qPrintable(text));
        QCoreApplication::removeTranslator(&marked);
        QCoreApplication::processEvents();
        QCOMPARE(texts(), before);
    }

    // Below the title bar of a screen of 1024 by 600.
    void editorsFitASmallScreen()
    {
        for (const char *file : {"wren.gleam", "wren.flick", "air.glow"}) {
            QVERIFY2(host().desk().openFile(path("heroes/wren/") + file, 0), file);
            for (int i = 0; i < 3; ++i) { // as by the mouse: a lower window may be lower still
                m_window->resize(640, 400);
                QCoreApplication::processEvents();
            }
            const QSize size = m_window->size();
            QVERIFY2(
                size.width() <= 1016 && size.height() <= 580,
                qPrintable(QString("%1: %2 by %3").arg(file).arg(size.width()).arg(size.height())));
        }
    }

    void theFirstPageShowsPictures()
    {
        auto *list = m_window->findChild<QListWidget *>("welcome_recent");
        actions()->closeProject->trigger();
        const ProjectPictures pictures(session(), m_directory->filePath("data/sessions"));
        const QImage picture = pictures.picture(hero() + '/');
        QCOMPARE(picture.size(), ProjectPictures::Size);
        QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
        QCOMPARE(list->item(0)->icon().pixmap(picture.size()).toImage().pixel(48, 40),
                 picture.pixel(48, 40));
        QVERIFY(qAlpha(picture.pixel(48, 40)) > 0);
        QSet<QRgb> colors; // no spark, of which the sample has two colours, but what it is about
        for (int i = 0; i < picture.width() * picture.height(); ++i)
            colors.insert(picture.pixel(i % picture.width(), i / picture.width()));
        QVERIFY(colors.size() > 8);
        m_window->resize(m_window->minimumSizeHint());
        QVERIFY(list->sizeHintForColumn(0) <= list->viewport()->width()); // paths are cut
        // Who closes all starts here again.
        m_window->reopenLast();
        QVERIFY(!session().parentProject());
    }

    void everythingHasANameAndAKey()
    {
        open("heroes/wren/air.glow");
        actions()->find->trigger();
        actions()->findInFiles->trigger();
        for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
            if (!widget->isVisible() || !(widget->focusPolicy() & Qt::TabFocus))
                continue;
            const QString text = widget->property("text").toString();
            const QByteArray what =
                widget->metaObject()->className() + QByteArray(" ") + widget->objectName().toUtf8();
            QVERIFY2(!widget->objectName().isEmpty(), what.constData());
            QVERIFY2(!widget->accessibleName().isEmpty() || !text.isEmpty(), what.constData());
        }
        // Alt and a letter is one thing: a menu, a button or a field.
        for (const char *dock : {"dock_messages", "dock_find_in_files"}) {
            m_window->findChild<QDockWidget *>(dock)->raise();
            QMap<QString, QString> letters;
            QStringList texts;
            for (const QAction *menu : m_window->menuBar()->actions())
                texts += menu->isVisible() ? menu->text() : QString();
            for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
                const bool isField = qobject_cast<const QAbstractButton *>(widget) ||
                                     qobject_cast<const QLabel *>(widget);
                const bool mayShow = host().outsideChanges().bar()->isAncestorOf(widget) &&
                                     widget->objectName() != "changes_write"; // for "reload"
                if (isField && (mayShow || !widget->visibleRegion().isEmpty()))
                    texts += widget->property("text").toString();
            }
            for (const QString &text : qAsConst(texts)) {
                const QString letter = QKeySequence::mnemonic(text).toString();
                QVERIFY2(letter.isEmpty() || !letters.contains(letter),
                         qPrintable(text + " and " + letters.value(letter)));
                letters.insert(letter, text);
            }
            QVERIFY(letters.size() > 12);
        }
        // No two commands may want the same key in the same place: the window, or a view.
        struct Wanted {
            const QObject *place;
            QString command;
        };
        QMap<QString, QVector<Wanted>> keys;
        for (const QAction *action : m_window->findChildren<QAction *>()) {
            QVector<const QObject *> places;
            for (const QWidget *widget : action->associatedWidgets()) {
                if (!qobject_cast<const QMenu *>(widget))
                    places += widget;
            }
            if (action->shortcutContext() == Qt::WindowShortcut)
                places = {nullptr};
            for (const QKeySequence &key : action->shortcuts()) {
                QVector<Wanted> &all = keys[key.toString()];
                for (const Wanted &other : qAsConst(all)) {
                    const bool meet =
                        !other.place || places.contains(other.place) || places.contains(nullptr);
                    QVERIFY2(!meet || other.command == action->objectName(),
                             qPrintable(key.toString() + ' ' + other.command + ' ' +
                                        action->objectName()));
                }
                for (const QObject *place : qAsConst(places))
                    all.append({place, action->objectName()});
            }
        }
    }

    /// What was applied is not applied once more over what came later.
    void keysAreAppliedOnce()
    {
        QAction *command = m_window->findChild<QAction *>("code_goto");
        const QList<QKeySequence> standard = command->shortcuts();
        KeysPage page(host().shortcuts());
        auto *tree = page.findChild<QTreeWidget *>("keys_tree");
        tree->setCurrentItem(
            tree->findItems("Go to line...", Qt::MatchExactly | Qt::MatchRecursive).value(0));
        page.findChild<QPushButton *>("keys_remove")->click();
        page.apply();
        QVERIFY(command->shortcuts().isEmpty() && settings().value("keys/code_goto").isValid());
        host().shortcuts().setKeys(command, standard);
        page.apply();
        QCOMPARE(command->shortcuts(), standard);
        QVERIFY(!settings().value("keys/code_goto").isValid());
    }

    void fontsOfAnotherMachineAreKept()
    {
        set("font_name", "a family that nobody has");
        m_dialogs->expectDialog([](QDialog *dialog) { dialog->accept(); });
        actions()->settings->trigger();
        QCOMPARE(settings().value("font_name").toString(), "a family that nobody has");
    }

    void focusIsSeen()
    {
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.flick"), 0));
        auto *animations = m_window->findChild<QListView *>("org_list");
        animations->setFocus();
        // One sees where the keys go to.
        const auto selected = [animations] {
            const QRect place = animations->visualRect(animations->currentIndex());
            return animations->grab().toImage().pixelColor(place.right() - 2, place.center().y());
        };
        QVERIFY(selected().saturation() > 90);
        view()->setFocus();
        QVERIFY(selected().saturation() < 30);
        QVERIFY(selected() != animations->palette().color(QPalette::Base));
        // Not every keyboard has a key for menus.
        m_window->findChild<QTreeView *>("project_tree")->setFocus();
        bool hasMenu = false;
        QTimer::singleShot(0, this, [&hasMenu] {
            if (QWidget *menu = QApplication::activePopupWidget()) {
                hasMenu = menu->findChild<QAction *>("tree_new");
                menu->close();
            }
        });
        QTest::keyClick(m_window.get(), Qt::Key_F10, Qt::ShiftModifier);
        QVERIFY(hasMenu);
    }

    void progressIsShownAndCancelled()
    {
        Kiln::Progress *progress = host().progress("Saving...", true);
        progress->setProgress(0, 10);
        progress->setProgress(4, 0);
        auto *dialog = m_window->findChild<QProgressDialog *>("progress");
        QCOMPARE(dialog->labelText(), "Saving...");
        QCOMPARE(qMakePair(dialog->value(), dialog->maximum()), qMakePair(4, 10));
        bool cancelled = false;
        progress->setProgress(5, 0, &cancelled);
        QVERIFY(!cancelled);
        dialog->cancel();
        progress->setProgress(6, 0, &cancelled);
        QVERIFY(cancelled);
        progress->finish();
        QVERIFY(!m_window->findChild<QProgressDialog *>("progress"));
    }

    void windowComesBackAsItWas()
    {
        m_window->resize(1000, 700);
        QVERIFY(m_window->close());
        makeWindow();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(m_window->size(), QSize(1000, 700));
    }
};

QTEST_MAIN(tst_studio_window)
#include "tst_studio_window.moc"
