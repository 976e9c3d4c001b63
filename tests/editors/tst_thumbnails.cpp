#include "spritetest.h"

#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/editors/thumbnailsmodel.h>
#include <kilnx/image/spritemime.h>
#include <tests/support/files.h>
#include <tests/support/modeltester.h>
#include <tests/support/told.h>

using namespace SpriteTest;

namespace
{

/// A sprite editor, with the panel where a host has it.
struct Panel : Bench {
    Panel()
    {
        grid = qobject_cast<QListView *>(host.control("thumb_list"));
        grid->setParent(nullptr);
        grid->resize(400, 300);
        grid->show();
        thumbnails->activate();
    }
    ~Panel()
    {
        thumbnails->setSprites(nullptr);
        host.activeProject = nullptr;
        delete grid;
        // What the host has destroyed is missed by nobody.
        thumbnails->retranslate();
        thumbnails->reconfig();
        thumbnails->activate();
        thumbnails->setSprites(file.get());
        thumbnails->showSprite(0);
        thumbnails->addSelected();
    }

    QImage picture(int row) const
    {
        return thumbnails->model()->picture(grid->model()->index(row, 0));
    }
    /// Every row that the grid shows has the picture that the sprite has now, made another way.
    bool isRight(const EmberSprites &sprites) const
    {
        for (int row = 0; row < grid->model()->rowCount(); ++row) {
            const QRect place = grid->visualRect(grid->model()->index(row, 0));
            if (!place.intersects(grid->viewport()->rect()))
                continue;
            const QImage whole = sprites.at(unsigned(row))->image();
            const int side = thumbnails->model()->side();
            const QImage wanted = whole.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            const QImage made = picture(row);
            if (qMax(whole.width(), whole.height()) <= side
                    ? made != wanted
                    : qMax(made.width(), made.height()) != side)
                return false;
        }
        return true;
    }
    void select(std::initializer_list<int> rows) const
    {
        grid->clearSelection();
        for (const int row : rows)
            grid->selectionModel()->select(grid->model()->index(row, 0),
                                           QItemSelectionModel::Select);
    }
    void click(int row, Qt::KeyboardModifiers modifiers = {}) const
    {
        grid->scrollTo(grid->model()->index(row, 0));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers,
                          grid->visualRect(grid->model()->index(row, 0)).center());
    }

    QListView *grid;
};

std::array<RGBA, 256> someRGBA(unsigned int seed)
{
    std::array<RGBA, 256> colors;
    const QVector<QRgb> table = someColors(seed);
    std::transform(table.cbegin(), table.cend(), colors.begin(), fromQRgb);
    return colors;
}

/// Each sprite has another picture.
SpritesPointer manySprites(int count, QSize size)
{
    SpritesPointer sprites = Bench::make();
    QImage picture = somePicture(size);
    for (int i = 0; i < count; ++i) {
        for (int x = 0; x < 3; ++x)
            picture.setPixel(x, 0, uint(i >> (8 * x) & 0xff));
        sprites->insert(unsigned(i), QString::number(i), picture);
    }
    return sprites;
}

} // namespace

class tst_Thumbnails : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsManySprites_data()
    {
        const auto add = columns<int, QSize, int>("count", "size", "side");
        add("20,000 small ones", 20000, {9, 7}, 32);
        add("ones larger than their cell", 300, {90, 260}, 192);
        add("a row of dots", 40, {3000, 1}, 64);
    }

    void showsManySprites()
    {
        const auto [count, size, side] = row<int, QSize, int>();
        const SpritesPointer sprites = manySprites(count, size);
        Panel panel;
        panel.thumbnails->setSide(side);
        panel.thumbnails->setSprites(sprites.get());
        QScrollBar *bar = panel.grid->verticalScrollBar();
        QCoreApplication::processEvents();
        QVERIFY(bar->maximum() > 0);
        for (const double place : {0.0, 1.0, 0.37, 0.9}) {
            bar->setValue(int(place * bar->maximum()));
            QTRY_VERIFY(panel.isRight(*sprites));
        }
        panel.thumbnails->showSprite(count / 2);
        panel.thumbnails->showSprite(count);
        const QModelIndex shown = panel.grid->currentIndex();
        QCOMPARE(shown.row(), count / 2);
        QVERIFY(panel.grid->viewport()->rect().contains(panel.grid->visualRect(shown)));
        // What was never seen was never made.
        if (count == 20000)
            QVERIFY(panel.thumbnails->model()->storedBytes() < 1500 * (9 * 7 * 4 + 100));
        panel.thumbnails->setSide(40);
        QTRY_VERIFY(panel.isRight(*sprites));
        // As large is the cell; the size is kept in the host's options.
        const QSize cell = panel.grid->gridSize();
        panel.host.options["thumbnails_size"] = 50;
        panel.thumbnails->reconfig();
        QCOMPARE(panel.grid->gridSize(), cell + QSize(10, 10));
        QCOMPARE(static_cast<QSlider *>(panel.host.control("thumb_size"))->value(), 50);
        for (const int wished : {40, 1000, 1}) {
            const int pixels = qBound(32, wished, 192);
            panel.thumbnails->setSide(wished);
            const int more = panel.host.scaled(pixels) - panel.host.scaled(40);
            QCOMPARE(panel.grid->gridSize() - cell, QSize(more, more));
            QCOMPARE(panel.thumbnails->model()->side(), panel.host.scaled(pixels));
            QCOMPARE(panel.host.options["thumbnails_size"].toInt(), pixels);
        }
    }

    void drawsCells_data()
    {
        const auto add = columns<QSize, QRect>("picture", "place");
        add("grown in whole steps", {10, 7}, {2, 11, 60, 42});
        add("as wide as its ground", {64, 3}, {0, 30, 64, 3});
        add("as high as its ground", {4, 64}, {30, 0, 4, 64});
        add("larger, in the same shape", {256, 128}, {0, 16, 64, 32});
        add("none", {}, {});
    }

    /// Against plain dots: selected or not, with short and long names, on two grounds.
    void drawsCells()
    {
        const auto [size, place] = row<QSize, QRect>();
        Panel panel;
        QCOMPARE(told(*panel.grid, "viewMode movement resizeMode uniformItemSizes selectionMode "
                                   "verticalScrollMode dragDropMode contextMenuPolicy"),
                 QString("IconMode Static Adjust true ExtendedSelection ScrollPerPixel DragOnly "
                         "ActionsContextMenu"));
        QCOMPARE(told(*panel.host.control("thumb_size"), "minimum maximum value accessibleName "
                                                         "toolTip"),
                 QString("32 192 64 Size of the pictures Size of the pictures"));
        int side = 32;
        while (panel.host.scaled(side) < 64)
            panel.thumbnails->setSide(++side);
        QImage picture(size, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::red);
        QStyleOptionViewItem cell;
        cell.widget = panel.grid;
        cell.font.setStyleStrategy(QFont::NoAntialias);
        cell.fontMetrics = QFontMetrics(cell.font);
        cell.palette.setColor(QPalette::Highlight, Qt::magenta);
        cell.palette.setColor(QPalette::HighlightedText, Qt::cyan);
        cell.palette.setColor(QPalette::Text, Qt::darkBlue);
        const auto *delegate = panel.grid->itemDelegate();
        cell.rect = QRect({10, 5}, delegate->sizeHint(cell, {}));
        QCOMPARE(cell.rect.size(), panel.grid->gridSize());
        QCOMPARE(cell.rect.width(), 72);
        QCOMPARE(panel.host.log.filter("addControl thumb_").size(), 7);
        const QRect ground(14, 9, 64, 64);
        const QRect below(11, 73, 70, cell.rect.bottom() - 72);
        for (int i = 0; i < 4; ++i) {
            const bool isSelected = i & 1;
            const bool isLong = i & 2;
            const QColor light = isLong ? QColor(0, 100, 0) : Qt::white;
            const QColor dark = isLong ? light.lighter(112) : Qt::lightGray;
            panel.host.colors["back_start"] = isLong ? light : QColor();
            panel.thumbnails->reconfig();
            QStandardItemModel list(1, 1);
            list.setData(list.index(0, 0), picture, Qt::DecorationRole);
            list.setData(list.index(0, 0), isLong ? "the long name of a sprite" : "name");
            cell.state = QStyle::State_Enabled | QStyle::State_KeyboardFocusChange;
            cell.state.setFlag(QStyle::State_Selected, isSelected);
            const auto drawn = [&] {
                QImage image(100, 130, QImage::Format_RGB32);
                image.fill(Qt::gray);
                QPainter painter(&image);
                painter.setFont(cell.font);
                delegate->paint(&painter, cell, list.index(0, 0));
                return image;
            };
            const QImage image = drawn();
            // What is not as here is the name: one line or two, in the middle of what is left.
            QRect text;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QPoint at(x, y);
                    const bool isFrame = ground.adjusted(-1, -1, 0, 0).contains(at) &&
                                         !ground.adjusted(1, 1, -2, -2).contains(at);
                    QColor plain = isSelected && cell.rect.contains(at) ? Qt::magenta : Qt::gray;
                    if (ground.contains(at) && !(isSelected && isFrame))
                        plain = ((x - 14) / 6 + (y - 9) / 6) % 2 ? dark : light;
                    if (place.translated(14, 9).contains(at) && !(isSelected && isFrame))
                        plain = Qt::red;
                    if (image.pixelColor(at) == plain)
                        continue;
                    QCOMPARE(image.pixelColor(at), QColor(isSelected ? Qt::cyan : Qt::darkBlue));
                    text |= QRect(at, at);
                }
            }
            QVERIFY(below.contains(text) && (text.center() - below.center()).manhattanLength() < 6);
            QCOMPARE(text.height() > cell.fontMetrics.height(), isLong);
            cell.state |= QStyle::State_HasFocus;
            QVERIFY(drawn() != image);
        }
    }

    void keepsToItsMemory()
    {
        const SpritesPointer sprites = manySprites(90, {512, 512});
        ThumbnailsModel model;
        model.setSide(ThumbnailsModel::largestSide);
        model.setSprites(sprites.get());
        connect(&model, &QAbstractItemModel::dataChanged, this,
                [&] { QVERIFY(model.storedBytes() <= ThumbnailsModel::keptBytes); });
        for (int row = 0; row < 90; ++row)
            model.data(model.index(row, 0), Qt::DecorationRole);
        // All of it is used, and one more finds room.
        QTRY_VERIFY(model.storedBytes() > ThumbnailsModel::keptBytes - (2 << 20));
        QTRY_VERIFY(!model.picture(model.index(0, 0)).isNull());
    }

    /// Of very many that are asked for at once, the last ones are made.
    void passesOverTheOldest()
    {
        const SpritesPointer sprites = manySprites(4100, {9, 7});
        ThumbnailsModel model;
        model.setSprites(sprites.get());
        model.picture(model.index(0, 0));
        QTRY_VERIFY(model.storedBytes() > 0);
        const int one = model.storedBytes();
        QVERIFY(one > 9 * 7 * 4);
        for (int row = 1; row < 4150; ++row) // more than once is as once
            model.picture(model.index(qMin(row, 4099), 0));
        QTRY_VERIFY(model.storedBytes() >= 4097 * one);
        QVERIFY(!QSignalSpy(&model, &QAbstractItemModel::dataChanged).wait(50));
        QCOMPARE(model.storedBytes(), 4097 * one);
        QVERIFY(model.picture(model.index(3, 0)).isNull());
        QVERIFY(!model.picture(model.index(4, 0)).isNull());
    }

    /// What changes while its picture is being made is made again.
    void changesUnderWay()
    {
        const SpritesPointer sprites = manySprites(1, {2000, 2000});
        ThumbnailsModel model;
        model.setSprites(sprites.get());
        const QModelIndex row = model.index(0, 0);
        model.data(row, Qt::DecorationRole);
        QCoreApplication::processEvents();
        QCOMPARE(model.storedBytes(), 0);
        const auto isShown = [&](const QImage &wanted) {
            return model.picture(row) ==
                   wanted.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        };
        sprites->at(0)->setImage(somePicture({20, 20}));
        QTRY_VERIFY(isShown(sprites->at(0)->image()));
        // The old picture stands until there is one in the new colours.
        const QImage before = sprites->at(0)->image();
        const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        sprites->palettes()->at(0)->setColors(someRGBA(9).data(), Palette::SetReplaced);
        model.data(row, Qt::DecorationRole);
        QCoreApplication::processEvents(); // one is being made
        sprites->palettes()->at(0)->setColors(someRGBA(10).data(), Palette::SetReplaced);
        QVERIFY(isShown(before) && !changed.isEmpty());
        QTRY_VERIFY(isShown(sprites->at(0)->image()));
    }

    /// At random, against what the file holds.
    void followsEdits()
    {
        Panel panel;
        std::mt19937 random(5);
        for (int i = 0; i < 12; ++i)
            panel.insert(QString::number(i), somePicture({12, 9}, unsigned(i)));
        const ModelTester tester(panel.thumbnails->model());
        panel.thumbnails->setSprites(panel.file.get());
        QCoreApplication::processEvents();
        EmberSprites &file = *panel.file;
        for (int step = 0; step < 120; ++step) {
            const unsigned int at = random() % (file.itemCount() + 1);
            Sprite *sprite = file.at(at);
            const unsigned int act = random() % 9;
            if (act == 0)
                file.insert(at, "new", somePicture({10, 10}, random()));
            else if (act == 1 && file.itemCount() > 4)
                file.remove(at);
            else if (act == 2)
                file.move(at, 0);
            else if (act == 3 && sprite)
                sprite->setImage(somePicture({30, 20}, random()));
            else if (act == 4 && sprite && sprite->palette())
                sprite->palette()->setColors(someRGBA(random()).data(), Palette::SetReplaced);
            else if (act == 5)
                file.autoOrganize();
            else if (act == 6)
                file.redo();
            else
                file.undo();
            if (step % 3 == 0) // sometimes under way, sometimes not
                QTRY_VERIFY2(panel.isRight(file), qPrintable(QString::number(step)));
        }
        QTRY_VERIFY(panel.isRight(file));
    }

    void survivesItsFile()
    {
        Panel panel;
        for (int round = 0; round < 12; ++round) {
            SpritesPointer sprites = manySprites(60, {40, 40});
            panel.thumbnails->setSprites(sprites.get());
            panel.select({1, 2});
            QTest::qWait(round); // some pictures are there, others under way or waiting
            if (round % 3 == 0)
                sprites->reset();
            else if (round % 3 == 1)
                sprites->remove(3);
            sprites.reset();
            QCOMPARE(panel.grid->model()->rowCount(), 0);
            QVERIFY(!panel.action("thumb_add_all")->isEnabled());
            QVERIFY(!panel.action("thumb_save")->isEnabled());
            panel.thumbnails->addSelected();
            panel.thumbnails->saveSelected();
        }
        QCoreApplication::processEvents();
    }

    void choosesTheEditorsSprite()
    {
        Panel panel;
        panel.show({somePicture({8, 6}, 1), somePicture({8, 6}, 2), somePicture({8, 6}, 3)});
        SpriteEditor &editor = *panel.editor;
        QCOMPARE(panel.thumbnails->sprites(), panel.file.get());
        QCOMPARE(panel.grid->model()->index(2, 0).data(Qt::ToolTipRole).toString(),
                 QString("sprite 2\n8 by 6"));
        panel.click(2);
        QCOMPARE(editor.currentSprite(), panel.file->at(2));
        QTest::keyClick(panel.grid, Qt::Key_Left);
        QCOMPARE(editor.currentSprite(), panel.file->at(1));
        panel.trigger("spr_prev");
        QCOMPARE(panel.grid->currentIndex().row(), 0);
        // Several are picked, and the editor stays where it is.
        panel.click(2, Qt::ControlModifier);
        QCOMPARE(editor.currentSprite(), panel.file->at(0));
        const std::unique_ptr<QMimeData> data(panel.grid->model()->mimeData(
            {panel.grid->model()->index(2, 0), panel.grid->model()->index(0, 0)}));
        QCOMPARE(SpriteMime::identifiers(data.get()), QStringList({"sprite 0", "sprite 2"}));
        QCOMPARE(panel.grid->model()->supportedDragActions(), Qt::CopyAction);
        QMimeData foreign;
        foreign.setData(SpriteMime::mimeType(), "cut off");
        QCOMPARE(SpriteMime::identifiers(&foreign), QStringList());
        // The user stays with what is drawn.
        panel.select({});
        panel.magnify();
        panel.Bench::click({2, 2});
        panel.host.dialogs().expectBox(QMessageBox::No);
        panel.click(1);
        QCOMPARE(panel.host.dialogs().finish(), QString());
        QCOMPARE(editor.currentSprite(), panel.file->at(0));
        QCOMPARE(panel.grid->currentIndex().row(), 0);
    }

    void makesAnimations_data()
    {
        // Frames of the current animation behind, and of all animations before.
        const auto add = columns<QByteArray, QStringList, bool>("command", "frames", "isNew");
        add("add selected", "thumb_add_selected", {"b", "c"}, false);
        add("add all", "thumb_add_all", {"a", "b", "c"}, false);
        add("new with selected", "thumb_new_selected", {"b", "c"}, true);
        add("new with all", "thumb_new_all", {"a", "b", "c"}, true);
    }

    void makesAnimations()
    {
        const auto [command, frames, isNew] = row<QByteArray, QStringList, bool>();
        Panel panel;
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", panel.path("hero/"));
        panel.host.currentEngine = &EmberEngine::instance();
        auto *parent = EmberParentProject::open(panel.path("hero/"), FileSystemArchive::instance());
        Project *project = nullptr;
        for (Project *each : parent->openedProjects()) {
            if (QFileInfo(each->fileName()).baseName() == "wren")
                project = each;
        }
        auto *document = dynamic_cast<CodeDocument *>(project->file(Project::FileID::Animations));
        auto *list = dynamic_cast<Animations *>(document->documentEditor(CodeNode::Animation, 0));
        auto *sprites = dynamic_cast<EmberSprites *>(project->file(Project::FileID::Sprites));
        while (sprites->itemCount() > 0)
            sprites->remove(0);
        for (const char *name : {"a", "b", "c"})
            sprites->insert(sprites->itemCount(), name, somePicture({4, 4}));
        panel.host.activeProject = project;
        panel.thumbnails->deactivate();
        panel.thumbnails->activate();
        QVERIFY(panel.thumbnails->isActive());
        QCOMPARE(panel.thumbnails->sprites(), sprites);

        const auto shown = [list](unsigned int row) {
            QStringList names;
            for (const FrameCode *frame : list->at(row)->frames())
                names << frame->identifier();
            return names;
        };
        list->setSelected(1);
        const unsigned int count = list->count();
        const QStringList before = shown(1);
        const QString text = document->toPlainText();
        panel.select({2, 1});
        panel.trigger(command.constData());
        QCOMPARE(list->count(), count + (isNew ? 1 : 0));
        QCOMPARE(list->selected(), isNew ? 2U : 1U);
        QCOMPARE(shown(1), isNew ? before : before + frames);
        if (isNew)
            QCOMPARE(shown(2), frames);
        document->undo();
        QCOMPARE(document->toPlainText(), text);

        list->setSelected(count);
        if (!isNew)
            panel.host.dialogs().expectBox(QMessageBox::Ok);
        panel.trigger(command.constData());
        QCOMPARE(panel.host.dialogs().finish(), QString());
        QCOMPARE(list->count(), count + (isNew ? 1 : 0));
        panel.thumbnails->setSprites(nullptr);
        parent->close();
    }

    void savesPictures()
    {
        Panel panel;
        for (const char *name : {"a", "b", "c"})
            panel.insert(name, somePicture({4, 4}, unsigned(name[0])));
        panel.thumbnails->setSprites(panel.file.get());
        panel.thumbnails->saveSelected(); // nothing to ask about
        panel.select({2, 0});
        panel.host.dialogs().expectFiles({panel.path("out.png")});
        panel.trigger("thumb_save");
        QCOMPARE(QDir(panel.path(".")).entryList({"*.png"}),
                 QStringList({"out_a.png", "out_c.png"}));
        QCOMPARE(QImage(panel.path("out_c.png")).convertToFormat(QImage::Format_ARGB32),
                 panel.sprite(2).convertToFormat(QImage::Format_ARGB32));
        QCOMPARE(panel.host.dialogs().finish(), QString());
    }
};

QTEST_MAIN(tst_Thumbnails)
#include "tst_thumbnails.moc"
