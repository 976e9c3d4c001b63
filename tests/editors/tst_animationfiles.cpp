// What leaves the animation editor and comes in: pictures that move, files of animations, and
// animations of other projects; work that lasts, and what becomes of it all when the file goes.

#include "animationtest.h"

using namespace AnimationTest;

class tst_AnimationFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Every animation of the sample, read by another program.
    void savesGIFs()
    {
        Bench bench;
        const QString gif = bench.path("one.gif");
        for (int row = 0; row < int(bench.list().count()); ++row) {
            bench.editor->setCurrent(unsigned(row), 0);
            const PlainAnimations::Animation said = PlainAnimations::read(bench.text())[row];
            QRectF canvas;
            bool isTurned = false;
            QStringList delays;
            QVector<QPair<QPoint, QImage>> drawn;
            int ticks = 0;
            int shown = 0;
            auto *sprites =
                dynamic_cast<EmberSprites *>(bench.wren->file(Project::FileID::Sprites));
            for (const PlainAnimations::Frame &frame : said.frames) {
                Sprite *sprite = sprites->at(unsigned(sprites->indexOf(0, frame.sprite)));
                QImage image = sprite->image();
                image.setColor(0, 0);
                const QSize size = image.size();
                image = image.mirrored(frame.flip & 2, frame.flip & 1);
                QPoint origin = sprite->property("Origin").toPoint();
                if (frame.flip & 2)
                    origin.setX(size.width() - origin.x());
                if (frame.flip & 1)
                    origin.setY(size.height() - origin.y());
                // As the viewport places it: whole pixels before the scale, cut behind it.
                const QPointF &scale = frame.scale;
                const QPoint corner = QPoint(qRound(frame.offset.x() / scale.x()),
                                             qRound(frame.offset.y() / scale.y())) -
                                      origin;
                const QTransform turn = QTransform()
                                            .translate(frame.offset.x(), frame.offset.y())
                                            .rotate(-frame.angle)
                                            .translate(-frame.offset.x(), -frame.offset.y());
                canvas |= turn.mapRect(
                    QRectF(int(corner.x() * scale.x()), int(corner.y() * scale.y()),
                           int(size.width() * scale.x()), int(size.height() * scale.y())));
                isTurned = isTurned || frame.angle != 0;
                drawn.append({corner, scale == QPointF(1, 1) ? image : QImage()});
                ticks += frame.delay < 0 ? 60 : frame.delay;
                delays << QString::number(qRound(ticks / 0.6) - shown);
                shown += delays.last().toInt();
                if (frame.delay < 0)
                    break;
            }
            bench.host.dialogs().expectFiles({gif});
            bench.trigger("save_gif");
            QProcess reader;
            reader.start("identify", {"-format", "%T %W %H\n", gif});
            QVERIFY(reader.waitForFinished());
            const QStringList told =
                QString(reader.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
            QCOMPARE(told.size(), delays.size());
            for (int i = 0; i < told.size(); ++i) {
                QCOMPARE(told[i].section(' ', 0, 0), delays.size() > 1 ? delays[i] : "0");
                // What is turned has its edges between pixels.
                const double about = isTurned ? 2 : 0;
                QVERIFY(qAbs(told[i].section(' ', 1, 1).toInt() - canvas.width()) <= about);
                QVERIFY(qAbs(told[i].section(' ', 2, 2).toInt() - canvas.height()) <= about);
            }
            reader.start("convert", {gif, "-coalesce", "rgba:-"});
            QVERIFY(reader.waitForFinished());
            const QByteArray pixels = reader.readAllStandardOutput();
            const QSize size = canvas.size().toSize();
            // One frame alone has no clear pixels.
            for (int i = 0; i < drawn.size() && drawn.size() > 1 && !isTurned; ++i) {
                QImage wanted(size, QImage::Format_ARGB32_Premultiplied);
                wanted.fill(0);
                QPainter(&wanted).drawImage(drawn[i].first - canvas.topLeft(), drawn[i].second);
                const QImage found(reinterpret_cast<const uchar *>(pixels.constData()) +
                                       i * wanted.sizeInBytes(),
                                   size.width(), size.height(), QImage::Format_RGBA8888);
                QVERIFY(drawn[i].second.isNull() ||
                        found.convertToFormat(wanted.format()) == wanted);
            }
            QFile::remove(gif);
        }
    }

    // Hundredths of a second and the size of each frame, or what the user is told.
    void savesFramesOfGIFs_data()
    {
        const auto add = columns<QString, QString>("frames", "told");
        const QString jab = " frame: wren_jab_1, for ";
        add("the sum is kept", (jab + "2\n").repeated(3), "3 S 4 S 3 S");
        add("shortest times are made up for", (jab + "1\n").repeated(3) + jab + "10\n",
            "2 S 2 S 2 S 16 S");
        add("one that stays", jab + "3\n" + jab + "ever\n", "5 S 100 S");
        add("no sprite", " frame: nobody, for 6\n" + jab + "6\n", "10 1x1 10 S");
        add("hardly seen", jab + "6, opacity 0.2\n" + jab + "6\n", "10 1x1 10 S");
        add("half seen", jab + "6, opacity 0.5\n" + jab + "6\n", "10 S 10 S");
        add("turned", jab + "6, angle 90\n" + jab + "6, angle 0, scale 1\n", "10 R 10 S");
        add("a little turned", jab + "6, angle 1\n" + jab + "6\n", "10 T 10 S");
        add("opaque", jab + "6\n" + jab + "6\n", "10 S 10 S");
        add("clear elsewhere", " frame: nobody, for 6\n" + jab + "6\n", "10 1x1 10 S");
        add("nothing", "", "You can't save an empty animation as GIF.");
        add("nothing to see", jab + "6, opacity 0.2\n frame: nobody\n",
            "You can't save an empty animation as GIF.");
        add("too large", jab + "6, scale 40000 1\n", "The frames are too large for a GIF.");
        add("too many pixels", jab + "6, scale 400\n", "The frames are too large for a GIF.");
    }

    void savesFramesOfGIFs()
    {
        auto [frames, told] = row<QString, QString>();
        Bench bench;
        bench.show("@animation a\n" + frames);
        const QString gif = bench.path("one.gif");
        const bool isTold = told.endsWith('.');
        if (isTold)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        else
            bench.host.dialogs().expectFiles({gif});
        Sprites *sprites = bench.editor->sprites();
        Sprite *sprite = sprites->at(unsigned(sprites->indexOf(0, "wren_jab_1")));
        const QString tag = QTest::currentDataTag();
        if (tag == "opaque" || tag == "clear elsewhere") {
            RGBA colors[256];
            sprite->palette()->toPalette(colors);
            for (RGBA &color : colors)
                color.a = 255;
            colors[200].a = tag == "opaque" ? 255 : 0;
            sprite->palette()->setColors(colors, Palette::SetReplaced);
        }
        bench.trigger("save_gif");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(QFile::exists(gif), !isTold);
        if (isTold) {
            QCOMPARE(bench.host.dialogs().seen().last().text, told);
            return;
        }
        QProcess reader;
        reader.start("identify", {"-format", "%T %wx%h ", gif});
        QVERIFY(reader.waitForFinished());
        const QSize size = sprite->image().size();
        const auto say = [&told = told](QSize size, const char *letter) {
            told.replace(letter, QString("%1x%2").arg(size.width()).arg(size.height()));
        };
        say(size, "S");
        say(size.transposed(), "R");
        say(sprite->image().transformed(QTransform().rotate(-1)).size(), "T");
        if (told.startsWith("10 1x1"))
            QCOMPARE(qAlpha(QImage(gif).pixel(0, 0)), 0);
        QCOMPARE(QString(reader.readAllStandardOutput()).trimmed(), told);
    }

    // A cancel, or the end of the file, leaves what is there as it was.
    void savesGIFsWithProgress_data()
    {
        columns<unsigned int, QString>("cancelAt", "meanwhile");
        for (const unsigned int cancelAt : {0, 1, 3, 5, 8, 12})
            QTest::addRow("cancelled at %u", cancelAt) << cancelAt << QString();
        QTest::newRow("closed") << 0U << QString("close");
        QTest::newRow("commands come") << 0U << QString("optimize export save_gif import_proj");
    }

    void savesGIFsWithProgress()
    {
        const auto [cancelAt, meanwhile] = row<unsigned int, QString>();
        const bool closes = meanwhile == "close";
        Bench bench;
        bench.go("jab");
        QCOMPARE(bench.editor->currentAnimation()->frameCount(), 3U);
        const QString gif = bench.path("one.gif");
        bench.host.dialogs().expectFiles({gif});
        writeFile(gif, "old");
        bench.host.dialogs().expectBox(QMessageBox::Yes); // to write over it
        bench.host.cancelAt = cancelAt;
        bench.host.duringProgress = [&, meanwhile = meanwhile] {
            for (const QString &each : meanwhile.split(' ', Qt::SkipEmptyParts))
                closes ? bench.closeProjects() : bench.trigger(each);
        };
        bench.trigger("save_gif");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.host.progresses.size(), 1);
        const auto progress = bench.host.progresses.last();
        QCOMPARE(progress->total, 12U); // shown, reduced, adapted and written
        QCOMPARE(progress->finished, 1);
        QCOMPARE(progress->steps.last(), closes ? 1U : cancelAt ? cancelAt : 12U);
        QCOMPARE(readFile(gif) == "old", closes || cancelAt > 0);
    }

    // Out to a file, unless it is cancelled; one to come in that is gone gets a word.
    void exportsAndImports()
    {
        Bench bench;
        const QString out = bench.path("out.flick");
        for (const unsigned int cancelAt : {1, 0}) {
            bench.host.cancelAt = cancelAt;
            bench.expectRows({});
            bench.host.dialogs().expectFiles({QString(out).remove(".flick")});
            bench.trigger("export");
            QCOMPARE(QFile::exists(out), cancelAt == 0);
        }
        QVERIFY(readFile(out).contains("\r\n"));
        QCOMPARE(dumpOf(QString(readFile(out)).remove('\r')), dumpOf(bench.first));
        bench.host.dialogs().expectDialog([&](QDialog *dialog) {
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(out);
            dialog->accept();
            QFile::remove(out);
        });
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("import");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.text(), bench.first);
    }

    void importsFromAProject_data()
    {
        // Of the source's a and c the second is renamed, and comes once more.
        const auto add = columns<bool, int, int, int, QStringList>("isSaved", "policy", "answer",
                                                                   "added", "names");
        const int yes = QMessageBox::Yes, no = QMessageBox::No;
        for (const bool isSaved : {false, true}) {
            const QByteArray how = isSaved ? ", source saved" : ", source modified";
            add("ask, yes" + how, isSaved, 0, yes, 1, {"a", "b", "new"});
            add("ask, no" + how, isSaved, 0, no, 3, {"a", "a", "b", "new", "new"});
            add("replace" + how, isSaved, 1, 0, 1, {"a", "b", "new"});
            add("skip" + how, isSaved, 2, 0, 1, {"a", "b", "new"});
            add("add anyway" + how, isSaved, 3, 0, 3, {"a", "a", "b", "new", "new"});
        }
    }

    void importsFromAProject()
    {
        const auto [isSaved, policy, answer, added, names] =
            row<bool, int, int, int, QStringList>();
        Bench bench;
        bench.show("@animation a\n    frame: here\n\n@animation b\n");
        Project *moss = nullptr;
        for (Project *project : qAsConst(bench.host.projects)) {
            if (project->fileName().endsWith("moss.wisp"))
                moss = project;
        }
        auto *source = dynamic_cast<EmberDocument *>(
            EmberEngine::instance().createFile(Project::FileID::Animations, moss));
        moss->addFile(source, Project::FileID::Animations);
        const auto *sprites = dynamic_cast<EmberSprites *>(moss->file(Project::FileID::Sprites));
        const QString text = QString("@animation a\n    frame: %1\n@animation c\n    frame: %2\n")
                                 .arg(isSaved ? "there" : "old", sprites->at(0)->identifier());
        source->fromString(text);
        if (!isSaved)
            source->animations()->at(0)->setCode("@animation a\n    frame: there");
        QCOMPARE(source->isModified(), !isSaved);
        const auto choose = [&, policy = policy](QDialog *dialog) {
            auto *projects = dialog->findChild<QComboBox *>("projects");
            projects->setCurrentIndex(projects->findText(moss->displayName()));
            auto *list = dialog->findChild<QListView *>("source");
            QTRY_VERIFY(isColoredBeforeText(list, 1));
            QVERIFY(!isColoredBeforeText(list, 0));
            list->selectAll();
            dialog->findChild<QPushButton *>("add")->click();
            list->setCurrentIndex(list->model()->index(1, 0));
            dialog->findChild<QPushButton *>("add")->click();
            QAbstractItemModel *chosen = dialog->findChild<QListView *>("destination")->model();
            for (const int each : {1, 2})
                QVERIFY(chosen->setData(chosen->index(each, 0), "new", Qt::EditRole));
            dialog->findChildren<QRadioButton *>()[policy]->click();
            dialog->accept();
        };
        // A cancel takes all back, and tells nothing.
        bench.host.cancelAt = 1;
        bench.host.dialogs().expectDialog(choose);
        for (int i = 0; answer && i < 2; ++i)
            bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        bench.trigger("import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QVERIFY(bench.text() == bench.first);
        bench.host.cancelAt = 0;
        bench.host.dialogs().expectDialog(choose);
        for (int i = 0; answer && i < 2; ++i)
            bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.host.dialogs().seen().last().text,
                 QString("%1 new animation(s) were imported!").arg(added));
        QStringList found;
        for (AnimationCode *animation : bench.list().animations())
            found << animation->name();
        found.sort();
        QCOMPARE(found, names);
        const bool replaces = policy == 1 || answer == QMessageBox::Yes;
        QCOMPARE(bench.list().at(0)->frameAt(0)->identifier(),
                 QString(replaces ? "there" : "here"));
        QCOMPARE(bench.differences(), QString());
        bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
    }

    // The file, its project or the editor goes away behind every box that a command opens, and
    // playback, which would leave the place that is asked about, ends before.
    void closesBehindBoxes_data()
    {
        columns<QString, QString>("command", "goes");
        for (const char *command : {"delete", "frame_delete", "duplicate", "box_allinst", "code",
                                    "frame_align", "export", "import", "import_proj", "save_gif"})
            for (const char *goes : {"the file", "the project", "the editor", "the frame"})
                QTest::addRow("%s: %s", command, goes) << QString(command) << QString(goes);
    }

    void closesBehindBoxes()
    {
        const auto [command, goes] = row<QString, QString>();
        Bench bench;
        bench.host.options["confirm_delete"] = true;
        bench.go("jab", 1);
        bench.trigger("play");
        if (command == "import") // its first box is a dialog of files, as that of GIFs is
            bench.host.dialogs().expectFiles({bench.file->fileName()});
        bench.host.dialogs().expectDialog([&, goes = goes](QDialog *dialog) {
            const QPointer<QDialog> open = dialog;
            QVERIFY(!bench.editor->isPlaying());
            if (goes == "the file")
                bench.wren->removeFile(bench.file);
            else if (goes == "the project")
                bench.closeProjects();
            else if (goes == "the editor")
                bench.editor.reset();
            else
                bench.trigger("prev_frame");
            bench.file = goes == "the frame" ? bench.file : nullptr;
            if (!open)
                return; // with the editor
            auto *box = qobject_cast<QMessageBox *>(dialog);
            if (box)
                box->button(QMessageBox::Yes)->click();
            else if (auto *files = qobject_cast<QFileDialog *>(dialog))
                files->reject();
            else
                dialog->accept();
        });
        bench.trigger(command);
        QVERIFY(!bench.editor || !bench.editor->currentAnimation() == (goes != "the frame"));
        QVERIFY(goes != "the frame" || bench.text() == bench.first);
        QCOMPARE(bench.host.dialogs().finish(), QString());
    }

    void longWork_data()
    {
        const auto add = columns<QString, int, int>("command", "animations", "frames");
        add("optimize", "optimize", 300, 2);
        add("all times", "frameall_time", 1, 600);
        add("align everywhere", "frame_align", 300, 2);
        add("boxes of an animation", "box_delall_anim", 1, 600);
        add("all instances", "box_allinst", 300, 2);
        add("sprites that are dropped", "drop", 1, 1);
        add("import", "import", 1, 1);
    }

    // Work that lasts tells how far it is, is one step of undo, and when it is cancelled, or the
    // file goes or becomes another one meanwhile, leaves nothing of it behind.
    void longWork();
};

void tst_AnimationFiles::longWork()
{
    const auto [command, animations, frames] = row<QString, int, int>();
    const QString frame =
        "    strike: 0, 0, 3, %1\n    frame: x, at 0 %1, for %1, scale 1 1, for 9\n";
    QStringList dropped;
    for (int i = 0; i < 300; ++i)
        dropped << "p";
    QString text;
    for (int i = 0; i < animations; ++i) {
        text += QString("@animation %1\n").arg(i);
        for (int j = 0; j < frames; ++j)
            text += frame.arg(j + 1);
    }
    enum Event { Finishes, IsCancelled, CommandsCome, FileCloses, TextChanges };
    const int events = command == "optimize" ? 5 : 2; // what comes in between meets the same code
    for (int event = 0; event < events; ++event) {
        Bench bench;
        bench.show(text);
        DialogScript &dialogs = bench.host.dialogs();
        if (command == "import") {
            QString offered;
            for (int i = 0; i < 300; ++i)
                offered += QString("@animation q%1\n    frame: a\n").arg(i);
            writeFile(bench.path("in.flick"), offered.toUtf8());
            dialogs.expectFiles({bench.path("in.flick")});
            bench.expectRows({});
        } else if (command == "frame_align") {
            dialogs.expectDialog([](QDialog *dialog) {
                dialog->findChild<QComboBox *>("range")->setCurrentIndex(AnimAlign::AllAnimations);
                dialog->findChild<QDoubleSpinBox *>("x")->setValue(5);
                dialog->accept();
            });
        } else if (command == "box_allinst") {
            dialogs.expectBox(QMessageBox::Yes);
        }
        const bool isTold = command == "optimize" || command == "import";
        const bool isDone = event == Finishes || event == CommandsCome;
        if (isTold && isDone)
            dialogs.expectBox(QMessageBox::Ok);
        bench.host.cancelAt = event == IsCancelled ? 1 : 0;
        if (event == FileCloses)
            bench.host.duringProgress = [&bench] {
                bench.wren->removeFile(bench.file);
                bench.file = nullptr;
            };
        else if (event == CommandsCome)
            bench.host.duringProgress = [&bench] {
                for (const char *other :
                     {"optimize", "export", "import", "import_proj", "save_gif"})
                    bench.trigger(other);
                QCOMPARE(bench.host.progresses.size(), 1);
            };
        else if (event == TextChanges)
            bench.host.duringProgress = [&bench] { QTextCursor(bench.file).insertText("; o\n"); };
        if (command == "drop")
            bench.drop(dropped);
        else
            bench.trigger(command);
        QCOMPARE(dialogs.finish(), QString());
        const auto progress = bench.host.progresses.last();
        QVERIFY(progress->cancellable && progress->finished == 1);
        QVERIFY(progress->total > 0 && progress->steps.size() > 1);
        QCOMPARE(progress->steps.last() == progress->total, isDone);
        if (event == FileCloses)
            continue;
        QCOMPARE(bench.differences(), QString());
        if (event != IsCancelled) {
            QVERIFY(bench.text() != bench.first);
            bench.editor->undo();
        }
        if (event != TextChanges)
            QCOMPARE(bench.text(), bench.first);
        QCOMPARE(bench.file->isUndoAvailable(), event == TextChanges);
        QCOMPARE(bench.file->isRedoAvailable(), event != IsCancelled);
        QCOMPARE(bench.differences(), QString());
    }
}

QTEST_MAIN(tst_AnimationFiles)
#include "tst_animationfiles.moc"
