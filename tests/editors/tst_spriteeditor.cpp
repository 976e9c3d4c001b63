#include "spritetest.h"

#include <tests/support/files.h>
#include <tests/support/memoryarchive.h>

using namespace SpriteTest;

namespace
{

/// How many pixels of a dialog's preview differ from a picture: it stands in the middle, in whole
/// multiples of its size, or as large as it fits.
int wrongPixels(const QImage &preview, const QImage &picture)
{
    const double fits = qMin(preview.width() / double(picture.width()),
                             preview.height() / double(picture.height()));
    const double times = fits >= 1 ? std::floor(fits) : fits;
    const QPointF corner(std::floor((preview.width() - times * picture.width()) / 2),
                         std::floor((preview.height() - times * picture.height()) / 2));
    int wrong = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QPointF middle = corner + QPointF(x + 0.5, y + 0.5) * times;
            const QColor shown = preview.pixelColor(int(middle.x()), int(middle.y()));
            const QColor wanted = picture.pixelColor(x, y);
            const bool isGround = shown == QColor(Qt::white) || shown == QColor(Qt::lightGray);
            wrong += wanted.alpha() == 0 ? !isGround : shown.rgb() != wanted.rgb();
        }
    }
    return wrong;
}

} // namespace

class tst_SpriteEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void offersItsMenuAndColors()
    {
        Bench bench;
        const std::function<QString(const QMenu *)> contents = [&](const QMenu *menu) {
            QStringList parts;
            for (const QAction *each : menu->actions())
                parts << (each->menu() ? each->text() + '(' + contents(each->menu()) + ')'
                                       : each->objectName().mid(4));
            return parts.join(' ');
        };
        QCOMPARE(
            contents(bench.host.menu("sprites")),
            QString("add delete duplicate openimg saveimg saveimgas import_proj frame_spr prev "
                    "next new Image(resize crop split_channels view_original image_properties "
                    "Rotation(image_rotate image_fliph image_flipv)) Layers(layer_add "
                    "layer_delete layer_duplicate layer_mergevis layer_mergeall) "
                    "Select(select_all select_none select_invert)"));
        QVector<QRgb> offered, wanted{0};
        for (int i = 0; i < 256; ++i)
            offered << bench.canvas().palette->rgbAt(uchar(i));
        const int steps[] = {0, 51, 102, 153, 204, 255};
        for (const int red : steps) {
            for (const int green : steps) {
                for (const int blue : steps)
                    wanted << qRgb(red, green, blue);
            }
        }
        for (int i = 0; i < 39; ++i)
            wanted << QColor(i * 255 / 38, i * 255 / 38, i * 255 / 38).rgb();
        QCOMPARE(offered, wanted);
        bench.editor->setCurrentFile(bench.file.get());
        QCOMPARE(bench.differences(), QString());
        QVERIFY(!bench.editor->setCurrent(0)); // there is none
        const Bench alone(false);              // its grid has four rows of small cells
        const auto *grid = alone.field<PaletteWidget>("spr_colors");
        QCOMPARE(QPoint(grid->cellAt({635, 5}), grid->cellAt({5, 35})), QPoint(63, 192));
        QVERIFY(!bench.field<PaletteWidget>("spr_colors"));
    }

    void worksOnLayers_data()
    {
        const auto add = columns<QString, QString>("steps", "told");
        add("all is cut out", "cut", "sprite 0* 000000");
        add("a part is cut out", "rect 2 1, cut", "sprite 0* 003456");
        add("another color stays", "ground 7, rect 2 1, cut", "sprite 0* 773456");
        add("the rest is cut out", "rect 2 1, select_invert, cut", "sprite 0* 120000");
        add("nothing is selected", "select_invert, select_invert, cut", "sprite 0* 123456");
        add("all is selected", "rect 2 1, select_all, cut", "sprite 0* 000000");
        add("not any more", "rect 2 1, select_none, cut", "sprite 0* 000000");
        add("without a selection", "rect 2 1, select_none, select_invert, cut", "sprite 0* 000000");
        add("drawn inside alone", "rect 2 1, dot 1 0, dot 1 1", "sprite 0* 193456");
        add("a part is copied", "ground 7, rect 2 1, copy, layer_delete, paste", "Layer 1* 127777");
        add("all is copied", "copy, layer_delete, paste, paste", "Layer 2*, Layer 1 123456");
        add("cut and put back", "ground 7, rect 2 1, cut, layer_add, paste",
            "Layer 3*, Layer 2, sprite 0 127777");
        add("a layer above", "layer_add, dot 1 1", "Layer 2*, sprite 0 123496");
        add("below it", "layer_add, dot 1 1, choose 1, cut", "Layer 2, sprite 0* 000090");
        add("a copy", "layer_add, dot 1 1, layer_duplicate, cut",
            "Layer 2 copy*, Layer 2, sprite 0 123496");
        add("a copy of the lowest", "layer_add, choose 1, layer_duplicate",
            "Layer 2, sprite 0 copy*, sprite 0 123456");
        add("the top one goes", "layer_add, dot 1 1, layer_add, layer_delete",
            "Layer 2*, sprite 0 123496");
        add("the lowest one goes", "layer_add, choose 1, layer_delete", "Layer 2* 000000");
        add("in between", "layer_add, layer_add, choose 1, layer_delete",
            "Layer 3, sprite 0* 123456");
        add("all into one", "layer_add, dot 1 1, choose 1, layer_mergeall", "sprite 0* 123496");
        add("the visible ones", "layer_add, dot 1 1, hide 0, layer_add, dot 0 0, layer_mergevis",
            "sprite 0*, Layer 2 923456");
        add("turned over", "layer_add, dot 0 1, image_fliph, image_flipv",
            "Layer 2*, sprite 0 659321");
    }

    /// On a picture of 3 by 2 pixels, with the foreground 9. Undo and redo lead there, too.
    void worksOnLayers()
    {
        const auto [steps, told] = row<QString, QString>();
        Bench bench;
        QImage picture(3, 2, QImage::Format_Indexed8);
        picture.setColorTable(someColors());
        for (int i = 0; i < 6; ++i)
            picture.setPixel(i % 3, i / 3, uint(i + 1));
        bench.show({picture});
        bench.setColor(9);
        const auto state = [&bench] {
            QStringList names;
            for (const ImageLayer *layer : qAsConst(bench.canvas().layers.list))
                names << layer->name + (layer == bench.renderer().currentLayer() ? "*" : "");
            QString pixels(' ');
            for (const char pixel : bytesOf(bench.canvas().flatten()))
                pixels += QString::number(uchar(pixel));
            return names.join(", ") + pixels;
        };
        QStringList states{state()};
        for (const QString &step : steps.split(", ")) {
            const QStringList words = step.split(' ');
            const QPoint at(words.value(1).toInt(), words.value(2).toInt());
            const int before = bench.canvas().undoStack.index();
            if (words[0] == "rect" || words[0] == "dot") {
                bench.trigger(words[0] == "rect" ? "spr_tool_rectsel" : "spr_tool_pen");
                bench.drag(words[0] == "rect" ? QPoint() : at, at);
            } else if (words[0] == "ground") {
                bench.setColor(9, at.x());
            } else if (words[0] == "choose" || words[0] == "hide") {
                auto *list = bench.field<QListView>("spr_layers_list");
                const QModelIndex index = list->model()->index(at.x(), 0);
                if (words[0] == "choose")
                    list->setCurrentIndex(index);
                else
                    list->model()->setData(index, Qt::Unchecked, Qt::CheckStateRole);
            } else if (QAction *command = bench.action(("spr_" + step).toLatin1())) {
                command->trigger();
            } else {
                step == "cut"    ? bench.editor->cut()
                : step == "copy" ? bench.editor->copy()
                                 : bench.editor->paste();
            }
            if (bench.canvas().undoStack.index() > before)
                states << QString();
            states.last() = state();
        }
        QCOMPARE(state(), told);
        QCOMPARE(bench.canvas().undoStack.index(), states.size() - 1);
        const auto pixels = [](const QString &state) { return state.section(' ', -1); };
        for (int i = states.size() - 1; i >= 0; --i) {
            QCOMPARE(pixels(state()), pixels(states[i]));
            bench.editor->undo();
        }
        for (int i = 1; i < states.size(); ++i)
            bench.editor->redo();
        QCOMPARE(pixels(state()), pixels(told));
        QCOMPARE(bench.differences(), QString());
    }

    void changesTheWholePicture_data()
    {
        const auto add =
            columns<QByteArray, QVariantMap, QSize, QPoint>("command", "fields", "size", "origin");
        add("properties, larger", "spr_image_properties", {{"width", 26}, {"height", 13}}, {26, 13},
            {7, 3});
        add("properties, smaller", "spr_image_properties", {{"width", 17}, {"height", 3}}, {17, 3},
            {3, -1});
        add("properties, format", "spr_image_properties", {{"format", 0}}, {20, 10}, {4, 2});
        add("resize", "spr_resize", {{"keep", false}, {"width", 35}, {"height", 40}, {"filter", 2}},
            {35, 40}, {7, 8});
        add("resize, smooth", "spr_resize",
            {{"keep", false}, {"width", 35}, {"height", 40}, {"filter", 1}}, {35, 40}, {7, 8});
        add("resize in proportion", "spr_resize", {{"width", 100}}, {100, 50}, {20, 10});
        add("rotate", "spr_image_rotate", {{"degrees", 90.0}}, {10, 20}, {4, 2});
        add("rotate, smooth", "spr_image_rotate", {{"degrees", 90.0}, {"filter", 4}}, {10, 20},
            {4, 2});
        add("flip horizontally", "spr_image_fliph", {}, {20, 10}, {15, 2});
        add("flip vertically", "spr_image_flipv", {}, {20, 10}, {4, 7});
        add("crop", "spr_crop", {}, {6, 4}, {-3, -1});
    }

    void changesTheWholePicture()
    {
        const auto [command, fields, size, origin] = row<QByteArray, QVariantMap, QSize, QPoint>();
        QImage picture(20, 10, QImage::Format_Indexed8);
        picture.setColorTable(someColors());
        picture.fill(0);
        for (int y = 3; y < 7; ++y) {
            for (int x = 7; x < 13; ++x)
                picture.setPixel(x, y, uint(10 * y + x));
        }
        Bench bench;
        bench.insert("sprite", picture);
        bench.file->at(0)->setProperty("Origin", QPoint(4, 2));
        bench.show({});
        MemoryArchive archive;
        const auto fileBytes = [&bench, &archive] {
            bench.file->toFile(archive, "copy", true);
            return archive.files["copy"];
        };
        bench.file->toFile(FileSystemArchive::instance(), bench.path("a.gleam"), false);
        const QByteArray before = fileBytes();
        if (!fields.isEmpty())
            bench.expectFields(fields);
        bench.trigger(command.constData());
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.canvas().size, size);
        QCOMPARE(bench.canvas().undoStack.index(), 1);
        QVERIFY(!bench.canvas().selection.rect.isValid());
        if (!bench.preview.isNull())
            QCOMPARE(wrongPixels(bench.preview, bench.canvas().flatten()), 0);
        const auto isInSight = [&bench] {
            const QSize shown = bench.canvas().size * bench.renderer().zoom();
            const QRect place(bench.renderer().toScreen({0, 0}), shown);
            return bench.view()->rect().contains(place) &&
                   (place.center() - bench.view()->rect().center()).manhattanLength() < 4;
        };
        QVERIFY(isInSight() || size == picture.size());
        if (command == "spr_crop") {
            QCOMPARE(bytesOf(bench.canvas().flatten()), bytesOf(picture.copy(7, 3, 6, 4)));
            bench.trigger("spr_crop"); // nothing is left to cut off
            QCOMPARE(bench.canvas().undoStack.index(), 1);
        }
        bench.file->at(0)->setProperty("Identifier", "named meanwhile");
        bench.editor->undo();
        QCOMPARE(bench.canvas().flatten(), picture);
        QVERIFY(isInSight() || size == picture.size());
        bench.editor->undo(); // the name is from after the canvas's step: nothing is asked
        QCOMPARE(fileBytes(), before);
        QVERIFY(!bench.editor->isModified());
        bench.editor->redo();
        QCOMPARE(bench.canvas().size, size);
        bench.trigger("spr_saveimg");
        QCOMPARE(bench.file->at(0)->origin(), origin);
        QCOMPARE(bench.sprite().size(), size);
        const QByteArray after = fileBytes();
        bench.editor->undo();
        QCOMPARE(fileBytes(), before);
        QVERIFY(!bench.editor->isModified());
        bench.editor->redo();
        QCOMPARE(fileBytes(), after);
    }

    void movesLayers()
    {
        Bench bench;
        bench.show({somePicture({8, 6}, 1).convertToFormat(QImage::Format_ARGB32)});
        bench.trigger("spr_layer_add");
        bench.trigger("spr_layer_duplicate");
        const auto order = [&bench] {
            QStringList list;
            for (const ImageLayer *layer : qAsConst(bench.canvas().layers.list))
                list << layer->name;
            return list.join(", ");
        };
        QCOMPARE(order(), QString("Layer 2 copy, Layer 2, sprite 0"));
        auto *list = qobject_cast<QListView *>(bench.host.control("spr_layers_list"));
        list->resize(200, 200);
        list->show();
        const auto place = [list](int row) {
            return list->visualRect(list->model()->index(row, 0)).center();
        };
        const auto send = [list](QEvent::Type type, QPoint at, Qt::MouseButtons held) {
            QMouseEvent event(type, at, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                              held, {});
            QApplication::sendEvent(list->viewport(), &event);
        };
        const auto *line = list->viewport()->findChild<QRubberBand *>();
        // From the edge of a row, and slowly at first: the row pressed on stays the chosen one.
        const auto startDrag = [&] {
            const QPoint edge(place(2).x(), list->visualRect(list->model()->index(2, 0)).top());
            send(QEvent::MouseButtonPress, edge, Qt::LeftButton);
            send(QEvent::MouseMove, edge - QPoint(0, 3), Qt::LeftButton);
            QVERIFY(list->currentIndex().row() == 2 && !line->isVisible());
            send(QEvent::MouseMove, place(0), Qt::LeftButton);
            send(QEvent::MouseMove, place(0) - QPoint(0, 6), Qt::LeftButton);
        };
        startDrag();
        QCOMPARE(line->geometry().center().y(), list->visualRect(list->model()->index(0, 0)).top());
        send(QEvent::MouseMove, place(2) + QPoint(0, 40), Qt::LeftButton);
        QCOMPARE(line->geometry().center().y(),
                 list->visualRect(list->model()->index(2, 0)).bottom() + 1);
        const std::function<void()> ends[] = {
            [list] {
                QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, {});
                QApplication::sendEvent(list, &escape);
                QVERIFY(escape.isAccepted());
                QApplication::sendEvent(list, &escape); // not the drag's any more
                QVERIFY(!escape.isAccepted());
            },
            [&] {
                QMouseEvent other(QEvent::MouseButtonPress, place(0), Qt::RightButton,
                                  Qt::LeftButton | Qt::RightButton, {});
                QApplication::sendEvent(list->viewport(), &other);
            },
            [&] {
                QMouseEvent other(QEvent::MouseButtonRelease, place(0), Qt::RightButton,
                                  Qt::LeftButton, {});
                QApplication::sendEvent(list->viewport(), &other);
            },
            [list] {
                QEvent blocked(QEvent::WindowBlocked);
                QApplication::sendEvent(list, &blocked);
            },
            [&] { send(QEvent::MouseMove, place(1), Qt::RightButton); }};
        for (const auto &end : ends) {
            startDrag();
            QVERIFY(line->isVisible());
            end();
            QVERIFY2(!line->isVisible(), qPrintable(QString::number(&end - ends)));
            send(QEvent::MouseButtonRelease, place(0), Qt::NoButton);
            QCOMPARE(order(), QString("Layer 2 copy, Layer 2, sprite 0"));
        }
        startDrag();
        send(QEvent::MouseButtonRelease, place(0) - QPoint(0, 6), Qt::NoButton);
        QVERIFY(!line->isVisible());
        QCOMPARE(order(), QString("sprite 0, Layer 2 copy, Layer 2"));
        QCOMPARE(bench.renderer().currentLayer()->name, QString("sprite 0"));
        bench.editor->undo();
        QCOMPARE(order(), QString("Layer 2 copy, Layer 2, sprite 0"));
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(order(), QString("Layer 2, Layer 2 copy, sprite 0"));
        QCOMPARE(bench.renderer().currentLayer()->name, QString("Layer 2 copy"));
        QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
        QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(order(), QString("Layer 2, sprite 0, Layer 2 copy"));
        QTest::keyClick(list, Qt::Key_Up, Qt::AltModifier);
        // A layer that goes while it is dragged takes the drag with it.
        startDrag();
        bench.canvas().layers.removeLayer(2, true);
        send(QEvent::MouseButtonRelease, place(0) - QPoint(0, 6), Qt::NoButton);
        QCOMPARE(order(), QString("Layer 2, Layer 2 copy"));
        bench.editor->retranslate();
        QCOMPARE(bench.differences(), QString());
    }

    void survives_data()
    {
        const auto add = columns<Act>("act");
        const auto closeIn = [](Bench &bench) {
            bench.host.dialogs().expectDialog([&bench](QDialog *dialog) {
                bench.editor->setCurrentFile(nullptr);
                bench.file.reset();
                dialog->accept();
            });
        };
        for (const char *command : {"spr_image_properties", "spr_resize", "spr_image_rotate",
                                    "spr_delete", "spr_new", "spr_saveimgas"})
            add(QByteArray("file closed under ") + command, [closeIn, command](Bench &bench) {
                closeIn(bench);
                bench.trigger(command);
            });
        add("another file under the question to leave", [](Bench &bench) {
            const SpritesPointer other = Bench::make();
            for (int i = 0; i < 2; ++i) {
                bench.insert("more", somePicture({3, 3}));
                other->insert(0, "other", somePicture({3, 3}));
            }
            bench.click({2, 2});
            bench.host.dialogs().expectDialog([&](QDialog *dialog) {
                bench.canvas().undoStack.undo();
                bench.editor->setCurrentFile(other.get());
                qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::Yes)->click();
            });
            QVERIFY(!bench.editor->setCurrent(1));
            QCOMPARE(bench.editor->currentSprite(), other->at(0));
            bench.editor->setCurrentFile(nullptr);
        });
        add("file closed under the palette's choice", [closeIn](Bench &bench) {
            closeIn(bench);
            bench.editor->setSpriteImage(somePicture({5, 5}, 4, 9));
        });
        add("one pixel", [](Bench &bench) {
            bench.insert("one", somePicture({1, 1}));
            bench.trigger("spr_next");
            for (const char *command : {"spr_crop", "spr_image_fliph", "spr_split_channels",
                                        "spr_layer_mergeall", "spr_select_invert"})
                bench.trigger(command);
            bench.editor->cut();
            bench.trigger("spr_saveimg");
            QCOMPARE(bench.sprite(1).size(), QSize(1, 1));
            QCOMPARE(bench.file->itemCount(), 5U);
        });
        add("a part of the colours is cut out", [](Bench &bench) {
            bench.canvas().setFormat(RGBACanvas, true);
            bench.trigger("spr_tool_rectsel");
            bench.mouse(QEvent::MouseButtonPress, {2, 1});
            bench.mouse(QEvent::MouseMove, {5, 4});
            bench.mouse(QEvent::MouseButtonRelease, {5, 4});
            const QImage &after = static_cast<RasterLayer *>(bench.canvas().layers.at(0))->image;
            const QImage before = after.copy();
            bench.editor->cut();
            const QImage taken = QApplication::clipboard()->image();
            const QRgb fill = bench.canvas().fillColor();
            int count = 0;
            for (int y = 0; y < after.height(); ++y) {
                for (int x = 0; x < after.width(); ++x) {
                    const bool isIn = QRect(2, 1, 3, 3).contains(x, y);
                    const QRgb color = before.pixel(x, y);
                    QCOMPARE(after.pixel(x, y), isIn ? fill : color);
                    QCOMPARE(taken.pixel(x, y), isIn ? color : fill);
                    count += isIn && color != fill;
                }
            }
            QVERIFY(count > 3);
            bench.editor->undo();
            QCOMPARE(after, before);
        });
        add("a huge picture", [](Bench &bench) {
            QImage huge(16384, 600, QImage::Format_Indexed8);
            huge.setColorTable(someColors());
            huge.fill(5);
            bench.insert("huge", huge);
            bench.trigger("spr_next");
            bench.expectFields({{"degrees", 180.0}});
            bench.trigger("spr_image_rotate");
            bench.editor->undo();
            QCOMPARE(bench.canvas().size, huge.size());
        });
        add("a stroke that a deletion cuts off", [](Bench &bench) {
            bench.mouse(QEvent::MouseButtonPress, {2, 2});
            bench.trigger("spr_layer_delete");
            bench.mouse(QEvent::MouseMove, {4, 4});
            bench.mouse(QEvent::MouseButtonRelease, {4, 4});
        });
        add("the file does not take the picture", [](Bench &bench) {
            QImage wide(70000, 1, QImage::Format_Indexed8);
            wide.setColorTable(someColors());
            wide.fill(5);
            const QImage before = bench.sprite();
            QApplication::clipboard()->setImage(wide);
            bench.editor->paste();
            bench.host.dialogs().expectBox(QMessageBox::Ok);
            QVERIFY(!bench.editor->saveImage());
            QCOMPARE(bench.host.dialogs().seen().last().text,
                     QString("The file did not take the picture of 'sprite 0'!"));
            bench.file->at(0)->setProperty("Identifier", "other"); // nothing is asked
            QCOMPARE(bench.canvas().size, QSize(70000, 6));
            QCOMPARE(bench.sprite(), before);
            bench.editor->undo();
            QCOMPARE(bench.differences(), QString());
        });
        add("the same file, and the same picture", [](Bench &bench) {
            bench.setColor(77);
            bench.click({2, 2});
            bench.editor->setCurrentFile(bench.file.get()); // nothing is asked
            QVERIFY(bench.editor->isModified());
            bench.editor->setSpriteImage(bench.sprite());
            QCOMPARE(bench.differences(), QString());
        });
        add("the editor is destroyed with steps left", [](Bench &bench) {
            bench.click({2, 2});
            bench.trigger("spr_frame_spr");
            const QSignalSpy told(bench.editor.get(), &Editor::modified);
            bench.host.activeEditor = nullptr;
            bench.editor.reset();
            QCOMPARE(told.count(), 0);
            QVERIFY(!bench.workspace->renderer());
            QVERIFY(bench.host.options.value("switch_frame_spr").toBool());
        });
        add("the option's colors are behind the picture", [](Bench &bench) {
            bench.host.colors = {{"back_start", Qt::red}, {"back_end", Qt::blue}};
            bench.editor->reconfig();
            bench.trigger("spr_layer_delete");
            const QImage shown = bench.view()->grab().toImage();
            QSet<QRgb> checks;
            for (int x = 0; x < 8; ++x)
                checks << shown.pixel(bench.renderer().toScreen({x, 2}) + QPoint(4, 4));
            QCOMPARE(checks, QSet<QRgb>({0xFFFF0000, QColor(Qt::red).lighter(112).rgb()}));
            QCOMPARE(shown.pixelColor(1, 1), QColor(Qt::blue));
        });
        add("an opaque picture gets indexes", [](Bench &bench) {
            QImage opaque(7, 300, QImage::Format_RGB32);
            opaque.fill(Qt::red);
            bench.insert("opaque", opaque);
            bench.trigger("spr_next");
            bench.expectFields({{"format", 1}});
            bench.trigger("spr_image_properties");
            bench.trigger("spr_saveimg");
            QCOMPARE(bench.sprite(1).format(), QImage::Format_Indexed8);
            QVERIFY(!bench.editor->currentSprite()->isEmpty());
        });
        add("an empty palette is shown", [](Bench &bench) {
            const auto colors = [&] {
                return bench.canvas().flatten().convertToFormat(QImage::Format_ARGB32);
            };
            const QImage before = colors();
            bench.host.dialogs().expectBox(QMessageBox::No);
            bench.trigger("pal_add");
            QVERIFY(bench.panel->currentPalette() != bench.file->at(0)->palette());
            QCOMPARE(colors(), before);
            RGBA other[256] = {}; // clear but for one entry: nothing else is in sight
            other[9] = {1, 2, 3, 255};
            bench.panel->currentPalette()->setColors(other, Palette::SetReplaced);
            QVERIFY(colors() != before);
            bench.setColor(77);
            bench.click({2, 2});
            QImage wanted = bench.sprite();
            wanted.setPixel(2, 2, 77);
            bench.trigger("spr_saveimg");
            QCOMPARE(bench.sprite(), wanted);
            for (int i = 0; i < 3; ++i)
                bench.editor->undo();
            QCOMPARE(bench.panel->currentPalette(), bench.file->at(0)->palette());
            QCOMPARE(colors(), before);
        });
        add("a sprite without a picture gets one", [](Bench &bench) {
            bench.insert("empty", QImage());
            bench.trigger("spr_next");
            bench.expectFields({{"format", 0}, {"width", 9}, {"height", 7}});
            bench.host.dialogs().expectDialog([](QDialog *dialog) {
                dialog->findChild<QComboBox *>("palette_modes")->setCurrentIndex(1);
                auto *palettes = dialog->findChild<QAbstractItemView *>("palettes");
                palettes->setCurrentIndex(palettes->model()->index(0, 0));
                dialog->accept();
            });
            bench.trigger("spr_image_properties");
            QCOMPARE(bench.sprite(1).size(), QSize(9, 7));
            QCOMPARE(bench.sprite(1).format(), QImage::Format_Indexed8);
            QVERIFY(bench.canvas().undoStack.isClean());
        });
        add("channels, and one pixel that is nearly clear", [](Bench &bench) {
            QImage picture(2, 1, QImage::Format_ARGB32);
            picture.setPixel(0, 0, qRgba(255, 0, 255, 1));
            picture.setPixel(1, 0, qRgba(10, 20, 30, 255));
            bench.insert("rgb", picture);
            bench.trigger("spr_next");
            bench.trigger("spr_split_channels");
            QCOMPARE(bench.names().mid(2), QStringList({"rgb red", "rgb green", "rgb blue"}));
            const QRgb clear = bench.canvas().flatten().pixel(0, 0);
            QVERIFY(qRed(clear) > 250 && qBlue(clear) > 250);
            const char wanted[] = {char(qRed(clear)), 10, 0, 20, char(qBlue(clear)), 30};
            for (int i = 0; i < 3; ++i)
                QCOMPARE(bytesOf(bench.sprite(unsigned(i) + 2)), QByteArray(wanted + 2 * i, 2));
            for (int i = 0; i < 256; ++i)
                QCOMPARE(bench.sprite(4).color(i), qRgb(i, i, i));
        });
    }

    void survives()
    {
        const auto [act] = row<Act>();
        Bench bench;
        bench.show({somePicture({8, 6}, 1)});
        bench.trigger("spr_tool_pen");
        act(bench);
        QCoreApplication::processEvents();
        QCOMPARE(bench.host.dialogs().finish(), QString());
    }
};

QTEST_MAIN(tst_SpriteEditor)
#include "tst_spriteeditor.moc"
