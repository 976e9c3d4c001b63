#include "animationtest.h"

using namespace AnimationTest;

class tst_AnimationEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placesItsFields()
    {
        const QStringList fields =
            QString("sel sel_lb frame_lb frame_sel frame_sel_lb frame_xaxis_lb frame_yaxis_lb "
                    "frame_flip_lb frame_xscale_lb frame_yscale_lb frame_angle_lb frame_time_lb "
                    "frame_xaxis frame_yaxis frame_flip frame_xscale frame_yscale frame_angle "
                    "frame_time onion_skin onion_sel onion_framesel onion_lb place_lb")
                .split(' ');
        Bench bench;
        QStringList placed;
        for (const QString &entry : bench.host.log) {
            const QString key = entry.section("addControl anim_", 1);
            if (!key.isEmpty() && !bench.host.action(("anim_" + key).toLatin1()))
                placed << key;
        }
        QCOMPARE(placed, fields);
        // Each command in a menu, the last two of which are below it.
        QStringList titles;
        int count = -2;
        const QList<QAction *> whole = bench.host.menu("animations")->actions();
        for (const QAction *action : whole) {
            titles << (action->menu() ? action->text() : QString());
            count += action->menu() ? action->menu()->actions().size() + 1 : 1;
        }
        const QList<QAction *> actions = bench.host.mainWindow()->findChildren<QAction *>(
            QRegularExpression("^anim_"), Qt::FindDirectChildrenOnly);
        QCOMPARE(count, actions.size());
        QCOMPARE(titles.mid(whole.size() - 2), (QStringList{"Frame", "Contact boxes"}));
        // What can't be done isn't, when a host lets it be chosen all the same.
        bench.show("; nothing\n");
        for (QAction *action : actions) {
            if (!action->isEnabled()) {
                action->setEnabled(true);
                action->trigger();
            }
        }
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.text(), bench.first);
    }

    // A value that the program puts into a field does not come back into the text, and a drag
    // writes nothing before it is released.
    void writesNothingByItself()
    {
        Bench bench;
        for (int i = 0; i < int(bench.list().count()); ++i)
            bench.trigger("next_anim");
        bench.go("jab", 1);
        QCOMPARE(bench.text(), bench.first);
        QVERIFY(!bench.file->isUndoAvailable());
        bench.editor->deactivate();
        bench.field<QSpinBox>("frame_xaxis")->setValue(44);
        // Strip and origin may be another editor's.
        bench.strip().setCurrentTick(7, false);
        bench.editor->update();
        QCOMPARE(bench.strip().currentTick(), 7U);
        const auto originBehindResize = [&](QPoint before) {
            GraphicsRenderer::setOrigin(before);
            QResizeEvent resized({300, 200}, {1, 1});
            QCoreApplication::sendEvent(bench.graphics->widget(), &resized);
            return GraphicsRenderer::origin();
        };
        QCOMPARE(originBehindResize({1, 1}), QPoint(1, 1));
        QCOMPARE(bench.host.statusTexts[Interface::PositionField], QString());
        bench.editor->activate();
        QVERIFY(bench.host.statusTexts[Interface::PositionField].startsWith("Position: "));
        // In sight it stays, between the rulers, the strip and the last pixels.
        const QSize size = bench.graphics->widget()->size() - QSize(0, bench.strip().height());
        const int right = size.width() - 2, bottom = size.height() - 2;
        for (const QPoint at : {QPoint(30, 30), QPoint(right, bottom)})
            QCOMPARE(originBehindResize(at), at);
        for (const QPoint at :
             {QPoint(29, 90), QPoint(90, 29), QPoint(right + 1, 90), QPoint(90, bottom + 1)})
            QCOMPARE(originBehindResize(at), QPoint(size.width() / 2, size.height() * 3 / 4));
        QCOMPARE(bench.text(), bench.first);
        const auto at = [&](QPoint point) {
            return GraphicsRenderer::origin() + point * double(bench.viewport.zoomFactor());
        };
        bench.viewport.mousePressed(at({30, -10}), Qt::LeftButton, Qt::NoModifier);
        bench.viewport.mouseMoved(at({36, -14}), Qt::NoModifier);
        QCOMPARE(bench.value("frame_xaxis"), 11);
        QCOMPARE(bench.value("frame_yaxis"), -4);
        QCOMPARE(bench.text(), bench.first);
        bench.viewport.mouseReleased(at({36, -14}), Qt::LeftButton, Qt::NoModifier);
        QVERIFY(bench.text().contains("frame: wren_jab_2, at 11 -4, for 2"));
        QCOMPARE(bench.differences(), QString());
        bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
        QCOMPARE(bench.value("frame_xaxis"), 5);
    }

    // The same animation and frame, or the nearest, whatever becomes of the text.
    void keepsThePlace_data()
    {
        const auto add = columns<QString, QString>("from", "to");
        add("lines above", "; Wren's", "@animation new\n\n; Wren's");
        add("the header is another", "@animation jab, title Jab", "@animation poke, title Jab");
        add("the frame above goes", "frame: wren_jab_1,", "; frame: wren_jab_1,");
        add("a frame above", "frame: wren_jab_1,", "frame: wren_jab_3\n    frame: wren_jab_1,");
    }

    void keepsThePlace()
    {
        const auto [from, to] = row<QString, QString>();
        Bench bench;
        bench.go("jab", 1);
        bench.viewport.widget()->setFocus();
        QTextCursor found = bench.file->QTextDocument::find(from);
        QVERIFY(!found.isNull());
        found.insertText(to);
        QCOMPARE(bench.editor->currentFrame()->identifier(), QString("wren_jab_2"));
        QCOMPARE(bench.differences(), QString());
        bench.editor->undo();
        QCOMPARE(bench.editor->currentFrame()->identifier(), QString("wren_jab_2"));
        QCOMPARE(bench.differences(), QString());
    }

    void keepsThePlaceThroughReloads()
    {
        Bench bench;
        bench.go("jab", 1);
        const QString name = bench.file->fileName();
        writeFile(name, "@animation other\n    frame: a\n\n" + readFile(name));
        QVERIFY(static_cast<ProjectFile *>(bench.file)
                    ->fromFile(FileSystemArchive::instance(), name, false));
        QTRY_COMPARE(bench.editor->currentAnimation()->name(), QString("jab"));
        QCOMPARE(bench.differences(), QString());
        // The nearest when it is gone, and nothing when all are.
        const int at = bench.field<QSlider>("sel")->value();
        bench.trigger("delete");
        QCOMPARE(bench.field<QSlider>("sel")->value(), at);
        bench.list().move(unsigned(at), 0);
        QCOMPARE(bench.field<QSlider>("sel")->value(), 0);
        QCOMPARE(bench.differences(), QString());
        bench.go("tiptoe", 3);
        QString names;
        for (const char name : QByteArray("baababab"))
            names += QString("@animation %1\n").arg(QLatin1Char(name));
        bench.show(names);
        bench.editor->setCurrent(3, 0);
        bench.trigger("delete");
        QCOMPARE(bench.field<QSlider>("sel")->value(), 4);
        // There is nothing before the first and behind the last.
        bench.show("@animation a\n frame: wren_jab_1\n frame: wren_jab_2\n");
        bench.editor->setCurrent(0, 1);
        bench.trigger("prev_anim");
        bench.trigger("next_anim");
        QCOMPARE(bench.place(), QString("Animation: a, Frame: 2"));
        bench.file->project()->removeFile(bench.file);
        QVERIFY(!bench.editor->currentAnimation() && !bench.editor->currentFrame());
        QCOMPARE(bench.viewport.spriteProvider()->count(), 0U);
        bench.file = nullptr;
    }

    // Where they fall, one step of undo.
    void dropsSprites_data()
    {
        const auto add = columns<int, bool, QString>("tick", "behindSecond", "after");
        const QString like = ", at 1 2, for 3, scale 2, flip h\n", y = "    frame: y, for 5\n";
        const QString first = "@animation a\n    frame: x" + like, last = "    frame: z\n";
        const QString asFirst = "    frame: p" + like + "    frame: q" + like;
        const QString asSecond = "    frame: p, for 5\n    frame: q, for 5\n";
        add("on the view", -1, false, first + asFirst + y + last);
        add("on the view, behind the second", -1, true, first + y + asSecond + last);
        add("on the first", 0, false, first + asFirst + y + last);
        add("on the second", 3, false, first + y + asSecond + last);
        add("behind the last", 40, false, first + y + last + "    frame: p\n    frame: q\n");
    }

    void dropsSprites()
    {
        const auto [tick, behindSecond, after] = row<int, bool, QString>();
        Bench bench;
        bench.show("@animation a\n    frame: x, at 1 2, for 3, scale 2, flip h\n"
                   "    frame: y, for 5\n    frame: z\n");
        if (behindSecond)
            bench.trigger("next_frame");
        QVERIFY(bench.drop({"p", "q"}, tick));
        QCOMPARE(bench.text(), after);
        QCOMPARE(bench.differences(), QString());
        bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
        QCOMPARE(bench.differences(), QString());
    }

    void boxesChangeTheirKind()
    {
        Bench bench;
        bench.show("@animation a\n    strike: 0, -40, 30, -20\n    ; the fist\n"
                   "    strike: 50, -40, 80, -20 ; hard\n    body: 0, -90, 30, -70 ; head\n"
                   "    frame: x\n");
        bench.drag({65, -30}, {65, -30});
        bench.drag({15, -80}, {15, -80}, Qt::ShiftModifier);
        QCOMPARE(bench.viewport.selectedContactBoxes().size(), 2);
        bench.trigger("box_type");
        QCOMPARE(
            bench.text(),
            QString(bench.first).replace("strike: 50", "body: 50").replace("body: 0", "strike: 0"));
        QCOMPARE(bench.differences(), QString());
        bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
    }

    // The mouse finds a sprite where it is drawn, however it is turned, mirrored and scaled.
    void hitsWhatIsDrawn_data()
    {
        columns<QString>("says");
        for (const char *says : {"", ", angle 30", ", angle 90, scale 2 1", ", angle -200, flip h",
                                 ", angle 765, flip hv, scale 1 0.5"})
            QTest::newRow(says) << QString(says);
    }

    void hitsWhatIsDrawn()
    {
        const auto [says] = row<QString>();
        Bench bench;
        bench.host.options["onion_skin"] = false;
        bench.editor->reconfig();
        for (const char *key : {"view_main_cross", "view_rulers", "view_guides"}) {
            if (QAction *shown = bench.host.action(key); shown && shown->isChecked())
                shown->trigger();
        }
        Sprites *sprites = bench.editor->sprites();
        Palette *palette = sprites->at(unsigned(sprites->indexOf(0, "wren_jab_1")))->palette();
        RGBA colors[256];
        palette->toPalette(colors);
        for (RGBA &color : colors)
            color = {255, 0, 255, 255};
        palette->setColors(colors, Palette::SetReplaced);
        bench.show("@animation a\n    frame: wren_jab_1, at 4 -9" + says + "\n");
        QWidget *view = bench.viewport.widget();
        const QImage drawn = view->grab().toImage();
        int hits = 0;
        int misses = 0;
        for (int y = 40; y < drawn.height() - 80; y += 5) {
            for (int x = 40; x < drawn.width() - 10; x += 5) {
                const auto isDrawn = [&](int dx, int dy) {
                    return drawn.pixel(x + dx, y + dy) == qRgb(255, 0, 255);
                };
                const bool isHit = isDrawn(0, 0);
                // Edges are between pixels.
                if (isDrawn(-2, -2) != isHit || isDrawn(2, 2) != isHit || isDrawn(-2, 2) != isHit ||
                    isDrawn(2, -2) != isHit)
                    continue;
                bench.viewport.mouseMoved({x, y}, Qt::NoModifier);
                QVERIFY2((view->cursor().shape() == Qt::SizeAllCursor) == isHit,
                         qPrintable(QString("%1 %2").arg(x).arg(y)));
                ++(isHit ? hits : misses);
            }
        }
        QVERIFY(hits > 100 && misses > 100);
    }

    void playsLoops_data()
    {
        const auto add = columns<QString, QVector<int>, bool>("text", "rows", "ends");
        const QString head = "@animation a";
        add("once, a longer end", head + ", once\n frame: x\n frame: y, for 3\n", {0, 1, 1, 1},
            true);
        add("once", head + ", once\n frame: x, for 2\n frame: y\n", {0, 0, 1}, true);
        add("a frame that stays", head + "\n frame: x\n frame: y, for ever\n frame: z\n", {0, 1},
            true);
        add("from the start", head + "\n frame: x, for 2\n frame: y\n", {0, 0, 1, 0, 0, 1, 0},
            false);
        add("from a loop point", head + "\n frame: x\n frame: y, loop\n frame: z\n",
            {0, 1, 2, 1, 2, 1}, false);
        add("from a loop point of four", head + "\n frame: x\n frame: y, loop\n frame: z, for 2\n",
            {0, 1, 2, 2, 1, 2, 2, 1}, false);
        add("from the first", head + "\n frame: x, loop\n frame: y\n frame: z\n",
            {0, 1, 2, 0, 1, 2}, false);
        add("no time", head + "\n frame: x\n frame: y, for 0\n frame: z\n", {0, 2, 0, 2}, false);
    }

    // Tick by tick, as the strip would play it.
    void playsLoops()
    {
        const auto [text, rows, ends] = row<QString, QVector<int>, bool>();
        Bench bench;
        bench.show(text);
        bench.trigger("play");
        QVector<int> seen;
        for (int i = 0; i < rows.size(); ++i) {
            QVERIFY(bench.editor->isPlaying());
            seen.append(bench.field<QSlider>("frame_sel")->value());
            bench.strip().setCurrentTick(bench.strip().currentTick() + 1, false);
        }
        QCOMPARE(seen, rows);
        QCOMPARE(bench.editor->isPlaying(), !ends);
        QCOMPARE(bench.host.action("anim_play")->isChecked(), !ends);
        QCOMPARE(bench.host.action("anim_stop")->isChecked(), ends);
        QVERIFY(ends || int(bench.strip().currentTick()) < rows.size() - 1);
        if (ends) {
            QCOMPARE(int(bench.strip().currentTick()), rows.size() - 1);
        } else {
            bench.trigger("play");
            QVERIFY(!bench.editor->isPlaying());
            bench.trigger("play");
        }
        // Edits are taken over without a stop, as long as there is a frame.
        bench.trigger(ends ? "play" : "editcode");
        QCOMPARE(bench.strip().currentTick() == 0 || !ends, true);
        QTextCursor typed(bench.file);
        typed.insertText("; more\n");
        QCOMPARE(bench.editor->isPlaying(), true);
        typed.select(QTextCursor::Document);
        typed.removeSelectedText();
        QVERIFY(!bench.editor->isPlaying());
        QCOMPARE(bench.text(), QString());
    }

    void typesIntoTheDialog_data()
    {
        const auto add =
            columns<QString, QString, int, QString>("typed", "meanwhile", "answer", "after");
        const QString typed = "@animation b\n    frame: x, for 3";
        const int none = 0, yes = QMessageBox::Yes, no = QMessageBox::No;
        add("written", typed, "", none, typed + "\n\n");
        add("the same", "", "", none, "@animation a\n    frame: x\n");
        add("no animation any more", "; nothing", "", none, "; nothing\n\n");
        add("over what came", typed, "; new\n@animation a\n", yes, typed + "\n\n");
        add("kept what came", typed, "; new\n@animation a\n", no, "; new\n@animation a\n");
        add("another one there", typed, "@animation c\n", yes, typed + "\n\n");
        add("none there", typed, "; none\n", none, "; none\n");
        add("a command", "", "frame_add", none, "@animation a\n    frame: x\n    frame: x\n");
        add("elsewhere", typed, "@animation a\n    frame: x\n@animation z\n", none,
            typed + "\n\n@animation z\n");
    }

    // In one step of undo, not over what others have written unless the user says so, and what is
    // typed stays until then.
    void typesIntoTheDialog()
    {
        const auto [typed, meanwhile, answer, after] = row<QString, QString, int, QString>();
        Bench bench;
        bench.show("@animation a\n    frame: x\n");
        QDialog sized;
        sized.resize(512, 300);
        bench.host.options["anim_editcode_geometry"] = sized.saveGeometry();
        bench.host.dialogs().expectDialog(
            [&, typed = typed, meanwhile = meanwhile](QDialog *dialog) {
                QCOMPARE(dialog->size(), sized.size());
                auto *field = dialog->findChild<QPlainTextEdit *>("code");
                QCOMPARE(field->toPlainText(), QString("@animation a\n    frame: x"));
                if (!typed.isEmpty()) {
                    field->selectAll();
                    field->insertPlainText(typed);
                }
                if (meanwhile.startsWith("frame"))
                    bench.trigger(meanwhile);
                else if (!meanwhile.isEmpty())
                    bench.file->replaceText(meanwhile);
                dialog->resize(540, 310);
                dialog->accept();
            });
        if (answer)
            bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        if (answer == QMessageBox::No)
            bench.host.dialogs().expectDialog([typed = typed](QDialog *dialog) {
                QCOMPARE(dialog->findChild<QPlainTextEdit *>("code")->toPlainText(), typed);
                dialog->reject();
            });
        bench.trigger("code");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.text(), after);
        sized.restoreGeometry(bench.host.options["anim_editcode_geometry"].toByteArray());
        QCOMPARE(sized.size(), QSize(540, 310));
        QCOMPARE(bench.file->isUndoAvailable(), !typed.isEmpty() || !meanwhile.isEmpty());
        const int steps = (after != bench.first && after != meanwhile) + !meanwhile.isEmpty();
        for (int i = 0; i < steps; ++i)
            bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
    }

    // What other panels and the host tell, while it is theirs to tell.
    void hearsOthers()
    {
        Bench bench;
        const auto clicked = [&](int row) {
            Q_EMIT bench.organizer->itemClicked(row);
            return bench.place().section(',', 0, 1);
        };
        const QString before = bench.place();
        bench.editor->deactivate();
        QCOMPARE(clicked(2), before);
        bench.editor->reconfig();
        bench.editor->retranslate();
        for (const int field :
             {Interface::PositionField, Interface::GuidesField, Interface::RendererField})
            QCOMPARE(bench.host.statusTexts[field], QString());
        bench.editor->activate();
        QObject *listed = bench.organizer->object();
        bench.organizer->setObject(nullptr);
        QCOMPARE(clicked(2), before);
        bench.organizer->setObject(qobject_cast<OrganizableObject *>(listed));
        QCOMPARE(clicked(2), QString("Animation: %1, Frame: 1").arg(bench.list().at(2)->name()));
        Q_EMIT bench.viewport.cursorChanged({4, -3});
        QCOMPARE(bench.host.statusTexts[Interface::PositionField], QString("Position: 4, -3"));
        bench.viewport.setGuideLines({5, -7});
        Q_EMIT bench.viewport.guideLinesMoved({5, -7});
        QCOMPARE(bench.host.statusTexts[Interface::GuidesField],
                 QString("Horizontal guide: -7, Vertical guide: 5"));
        QCOMPARE(bench.host.statusTexts[Interface::RendererField],
                 QString("Renderer: Native painter"));
        QCOMPARE(bench.host.options["guide_x"].toInt(), 5);
        QCOMPARE(bench.host.options["guide_y"].toInt(), -7);
        auto *split = qobject_cast<QSplitter *>(bench.host.editorWidget);
        QVERIFY(split && !split->childrenCollapsible());
        QCOMPARE(split->accessibleName(), KilnTranslator::instance()->text(46));
        const QList<int> first = split->sizes();
        QVERIFY(qAbs(first[0] - split->width() * 45 / 100) < 12);
        split->setSizes({800, 200});
        const QList<int> wanted = split->sizes();
        bench.trigger("editcode");
        bench.trigger("editcode");
        QVERIFY(wanted != first && qAbs(split->sizes()[0] - wanted[0]) < 3);
        // The text has the keyboard where it is shown.
        for (const bool isShown : {false, true}) {
            bench.graphics->widget()->setFocus();
            bench.editor->setEditCodeMode(isShown, nullptr);
            QCOMPARE(bench.code->widget()->isVisible(), isShown);
            bench.editor->navigateTo(3, 0);
            QCOMPARE(bench.code->editor()->hasFocus(), isShown);
        }
        // A file that is saved stays, whatever project is current; a new one is shown.
        bench.host.activeProject = nullptr;
        QTextCursor(bench.file).insertText("; more\n");
        bench.editor->save();
        QVERIFY(!bench.file->isModified());
        QCOMPARE(bench.editor->currentFile(), bench.file);
        bench.host.activeProject = bench.wren;
        bench.go("jab", 1);
        bench.trigger("play");
        bench.editor->create();
        auto *second = dynamic_cast<EmberDocument *>(bench.editor->currentFile());
        QVERIFY(second && second != bench.file && !bench.editor->isPlaying());
        bench.editor->setCurrentFile(bench.file);
        // Each has its own place, and what becomes of one that is not shown changes nothing.
        second->fromString("@animation x\n    frame: a\n@animation jab\n    frame: b\n");
        bench.editor->setCurrentFile(second);
        QVERIFY(bench.place().startsWith("Animation: x, Frame: 1"));
        bench.editor->setCurrentFile(bench.file);
        QCOMPARE(bench.place(), QString("Animation: jab, Frame: 2"));
        const QSignalSpy told(bench.editor.get(), &FileEditor::modified);
        QTextCursor(second).insertText("; other\n");
        second->animations()->move(1, 0);
        bench.wren->removeFile(second);
        QCOMPARE(told.count(), 0);
        QCOMPARE(bench.place(), QString("Animation: jab, Frame: 2"));
        QCOMPARE(bench.differences(), QString());
        // Where the last frame was, the cursor is in the animation behind it.
        bench.show("@animation a\n    frame: x\n    frame: y\n@animation b\n");
        bench.go("a", 1);
        bench.code->editor()->setFocus();
        bench.trigger("frame_delete");
        QVERIFY(bench.place().startsWith("Animation: a, Frame: 1"));
        QCOMPARE(bench.differences(), QString());
        // The one that is written to goes away meanwhile.
        connect(bench.file, &QTextDocument::contentsChanged, this,
                [&] { bench.editor->setCurrentFile(nullptr); });
        bench.trigger("frame_add");
        bench.editor->setCurrent(0, 0);
        QVERIFY(!bench.editor->currentAnimation());
        QVERIFY(!bench.field<QSpinBox>("frame_time")->isEnabled());
    }

    // The dialog, a drag and the program agree on where the extra cross is.
    void movesTheExtraCross()
    {
        Bench bench;
        bench.host.action("view_extra_cross")->trigger();
        auto *dialog = bench.host.mainWindow()->findChild<QDialog *>("extraAxis");
        QVERIFY(dialog && dialog->isVisible());
        auto *x = dialog->findChild<QSpinBox *>("x");
        const auto place = [&] {
            return bench.viewport.itemPosition(GraphicsRenderer::ItemCrossExtra);
        };
        bench.graphics->setExtraAxis({7, 8});
        QCOMPARE(x->value(), 7);
        QCOMPARE(dialog->findChild<QSpinBox *>("y")->value(), 8);
        x->setValue(-20);
        QCOMPARE(place(), QPoint(-20, 8));
        QVector<QPoint> told;
        connect(bench.graphics.get(), &GraphicsWorkspace::extraAxisChanged, this,
                [&](QPoint at) { told << at; });
        Q_EMIT bench.viewport.itemMoved(GraphicsRenderer::ItemCrossExtra, nullptr, {30, 8});
        QCOMPARE(x->value(), 30);
        QCOMPARE(place(), QPoint(-20, 8)); // the drag is the view's own
        Q_EMIT bench.viewport.itemReleased(GraphicsRenderer::ItemCrossExtra, nullptr, {31, 9});
        QCOMPARE(place(), QPoint(31, 9));
        QCOMPARE(told, QVector<QPoint>{QPoint(31, 9)});
        QCOMPARE(x->value(), 31);
        QCOMPARE(bench.text(), bench.first);
        bench.editor->deactivate();
        QVERIFY(!dialog->isVisible());
        bench.editor->activate();
        QVERIFY(dialog->isVisible());
        const auto shown = [&] {
            return bench.host.mainWindow()->findChild<QDialog *>("extraAxis");
        };
        bench.host.action("view_extra_cross")->trigger();
        QVERIFY(!shown());
        bench.host.action("view_extra_cross")->trigger();
        QVERIFY(shown());
        QCOMPARE(shown()->findChild<QSpinBox *>("x")->value(), 31);
        shown()->close(); // and stays so
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        bench.editor->deactivate();
        bench.editor->activate();
        QVERIFY(!shown());
        // What the editor has made goes with it, and what it shows stays.
        bench.host.action("view_extra_cross")->trigger();
        bench.host.action("view_extra_cross")->trigger();
        bench.editor.reset();
        QVERIFY(!shown() && !bench.viewport.spriteProvider() && !bench.graphics->renderer());
        QVERIFY(!bench.graphics->widget()->parent() && !bench.code->widget()->parent());
    }

    // The options of the onion skin, with their bounds.
    void readsTheOnionSkin()
    {
        Bench bench;
        bench.go("jab", 1);
        const auto seen = [&](int effect, double opacity) {
            bench.host.options["onion_effect"] = effect;
            bench.host.options["onion_opacity"] = opacity;
            bench.editor->reconfig();
            return bench.viewport.widget()->grab().toImage();
        };
        QVector<QImage> effects;
        for (int effect = 0; effect < 4; ++effect) {
            effects << seen(effect, 0.5);
            QCOMPARE(effects.indexOf(effects.last()), effect);
        }
        QCOMPARE(seen(9, 0.5), effects.last());
        QCOMPARE(seen(-1, 0.5), effects.first());
        QCOMPARE(seen(0, 5), seen(0, 1));
        QVERIFY(seen(0, 1) != effects.first());
    }

    // The fields of a dialog, their bounds, and where the keyboard is.
    void dialogsAsk()
    {
        AnimAlign align(nullptr);
        align.show();
        align.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&align));
        auto *x = align.findChild<QDoubleSpinBox *>("x");
        auto *y = align.findChild<QDoubleSpinBox *>("y");
        QTest::keyClicks(QApplication::focusWidget(), "7");
        QCOMPARE(align.amount(), QPointF(7, 0));
        auto *operation = align.findChild<QComboBox *>("operation");
        QStringList states;
        for (const int chosen : {0, 1, 4, 3, 4}) {
            operation->setCurrentIndex(chosen);
            for (const QDoubleSpinBox *field : {x, y})
                states << QString("%1 %2 %3 %4")
                              .arg(field->text())
                              .arg(field->minimum())
                              .arg(field->maximum())
                              .arg(field->singleStep());
            x->setValue(chosen == 1 ? -8 : x->value());
        }
        const QString far = " -65535 65535 1", factor = "1.000 0.001 1000 0.1";
        QCOMPARE(states, (QStringList{"7 px" + far, "0 px" + far, "7 px" + far, "0 px" + far,
                                      factor, factor, "0 px" + far, "0 px" + far, factor, factor}));
        AnimCodeDlg code(nullptr, "@animation a", QFont("Monospace", 17));
        const auto *text = code.findChild<QPlainTextEdit *>("code");
        QCOMPARE(code.code(), QString("@animation a"));
        QCOMPARE(text->font().pointSize(), 17);
        QCOMPARE(code.size(), QSize(640, 420));
        // Below the fields, and ended by either button.
        for (QDialog *dialog : {static_cast<QDialog *>(&align), static_cast<QDialog *>(&code)}) {
            auto *buttons = dialog->findChild<QDialogButtonBox *>();
            for (const auto button : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel}) {
                dialog->show();
                QVERIFY(buttons->y() >
                        (dialog == &align ? y->geometry() : text->geometry()).bottom());
                buttons->button(button)->click();
                QCOMPARE(dialog->result(), int(button == QDialogButtonBox::Ok));
                QVERIFY(!dialog->isVisible());
            }
        }
        QVERIFY(operation->y() < x->y() && x->y() < y->y() && text->width() > 600);
    }

    // What is new is shown, behind what was; boxes of another frame are not selected.
    void showsWhatIsNew()
    {
        Bench bench;
        const QString frame = " body: -40, -60, 40, 0\n frame: x\n";
        bench.show("@animation a\n" + frame + frame + "@animation c\n");
        bench.drag({-30, -50}, {-30, -50});
        QCOMPARE(bench.viewport.selectedContactBoxes().size(), 1);
        bench.trigger("next_frame");
        QCOMPARE(bench.viewport.selectedContactBoxes().size(), 0);
        bench.trigger("add");
        QCOMPARE(bench.list().at(2)->name(), QString("c"));
        QCOMPARE(bench.editor->currentAnimation(), bench.list().at(1));
        bench.editor->deactivate();
        QVERIFY(!bench.drop({"x"}));
        bench.editor->activate();
    }

    // The view reads a frame anew at each tick that shows something else of it.
    void movesBetweenFrames()
    {
        Bench bench;
        bench.show("@animation a\n body: -90, -60, -40, 0\n frame: wren_jab_1, for 3\n"
                   " frame: wren_jab_2, for 2\n");
        const auto placement = [&] {
            return bench.viewport.spriteProvider()->property(0, SpriteProvider::Placement).toInt();
        };
        QCOMPARE(placement(), 14);
        const auto selects = [&] {
            bench.drag({-60, -50}, {-60, -50});
            return bench.viewport.selectedContactBoxes().size();
        };
        QCOMPARE(selects(), 1);
        bench.trigger("play");
        QCOMPARE(placement(), 2); // nothing can be dragged
        QCOMPARE(bench.viewport.selectedContactBoxes().size(), 0);
        QCOMPARE(bench.viewport.clickMode(), GraphicsRenderer::ClickPositioning);
        Q_EMIT bench.viewport.itemMoved(GraphicsRenderer::ItemSprite, nullptr, {50, 50});
        QCOMPARE(bench.value("frame_xaxis"), 0);
        Q_EMIT bench.viewport.itemReleased(GraphicsRenderer::ItemSprite, nullptr, {50, 50});
        QCOMPARE(selects(), 0);
        bench.host.action("anim_box_add_attack")->setEnabled(true);
        bench.trigger("box_add_attack");
        QCOMPARE(bench.text(), bench.first);
        QCOMPARE(bench.viewport.clickMode(), GraphicsRenderer::ClickPositioning);
        bench.editor->asked.clear();
        QSignalSpy read(bench.viewport.spriteProvider(), &SpriteProvider::changed);
        const auto next = [&] {
            bench.strip().setCurrentTick(bench.strip().currentTick() + 1, false);
            return std::exchange(bench.editor->asked, {});
        };
        using Asked = QVector<QPair<int, int>>;
        QCOMPARE(next(), (Asked{{0, 1}}));
        QCOMPARE(read.count(), 0);
        bench.editor->interpolates = true;
        QCOMPARE(next(), (Asked{{0, 2}}));
        QCOMPARE(read.count(), 1);
        QCOMPARE(next(), (Asked{{1, 0}}));
        QCOMPARE(read.count(), 3);
        bench.trigger("stop");
        QCOMPARE(next(), Asked());
        // The last tick that there is has nothing behind it to go on at.
        bench.show("@animation a\n frame: x, for 2147483647\n frame: y, for 2, loop\n");
        bench.trigger("play");
        QVERIFY(bench.editor->isPlaying());
        bench.strip().setCurrentTick(2147483647U, false);
        QVERIFY(!bench.editor->isPlaying());
    }
};

QTEST_MAIN(tst_AnimationEditor)
#include "tst_animationeditor.moc"
