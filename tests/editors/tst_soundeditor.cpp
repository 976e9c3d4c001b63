#include "randomsounds.h"
#include "soundtest.h"

#include <ember/embersprites.h>
#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/editors/projimport.h>
#include <tests/support/fulldisk.h>
#include <tests/support/rows.h>

using namespace SoundTest;

class tst_SoundEditor : public QObject
{
    Q_OBJECT

private slots:
    void tellsOfTheSound_data()
    {
        const auto add =
            columns<int, int, int, int, QString>("channels", "bits", "rate", "frames", "told");
        add("mono", 1, 8, 8000, 12000,
            "Channels: 1 (Mono)\nSample rate: 8000 Hz\nBits per sample: 8 bits\n"
            "Duration: 1.5 seconds\nTick count: 90 at 60Hz");
        add("a third of a second", 2, 16, 44100, 14700,
            "Channels: 2 (Stereo)\nSample rate: 44100 Hz\nBits per sample: 16 bits\n"
            "Duration: 0.333333 seconds\nTick count: 20 at 60Hz");
        add("five channels of a rate of 0", 5, 24, 0, 3,
            "Channels: 5 (Stereo)\nSample rate: 0 Hz\nBits per sample: 24 bits\n"
            "Duration: 0 seconds\nTick count: 0 at 60Hz");
        add("of hours", 1, 8, 1, 20000,
            "Channels: 1 (Mono)\nSample rate: 1 Hz\nBits per sample: 8 bits\n"
            "Duration: 20000 seconds\nTick count: 1200000 at 60Hz");
        add("without frames", 0, 1, 0, 0,
            "Channels: 0 (Mono)\nSample rate: 0 Hz\nBits per sample: 1 bits\n"
            "Duration: 0 seconds\nTick count: 0 at 60Hz");
    }

    void tellsOfTheSound()
    {
        const auto [channels, bits, rate, frames, told] = row<int, int, int, int, QString>();
        Bench bench;
        const QString none("Channels: ---\nSample rate: ---\nBits per sample: ---\n"
                           "Duration: ---\nTick count: ---");
        QCOMPARE(bench.label("snd_info_lb"), none);
        QCOMPARE(bench.label("snd_sel_lb"), QString("0 / 0"));
        QVERIFY(bench.host.action("snd_add")->isEnabled());
        QVERIFY(!bench.host.action("snd_play")->isEnabled());
        bench.insert("first", noise(channels, bits, unsigned(rate), frames, 1));
        QCOMPARE(bench.label("snd_info_lb"), told);
        bench.insert("second", noise(1, 16, 11025, 700, 2));
        bench.host.activeEditor->deactivate();
        QVERIFY(!bench.host.action("snd_add")->isEnabled());
        qobject_cast<QSlider *>(bench.host.control("snd_sel"))->setValue(1); // it has no say now
        QCOMPARE(bench.current(), 0);
        bench.host.extraEditors.clear(); // no host must have an organizer
        bench.host.shownExtraEditor = bench.organizer;
        bench.editor->activate();
        QVERIFY(!bench.host.shownExtraEditor);
        QCOMPARE(bench.organizer->object(), nullptr);
    }

    // No sound server runs here: what is missing is told, and all else works.
    void worksWithoutADevice()
    {
        Bench bench;
        auto *view = qobject_cast<AudioSampleWidget *>(bench.workspace->widget());
        QCOMPARE(view->fault(), QString());
        bench.insert("a", noise(2, 16, 44100, 500, 1));
        QVERIFY(view->fault().contains("no sound device"));
        QVERIFY(!view->levels().isEmpty());
        QTest::mouseClick(view, Qt::LeftButton); // its keys count from now on
        QVERIFY(view->hasFocus());
        for (const char *key : {"snd_play", "snd_play_loop"}) {
            bench.trigger(key);
            QVERIFY(!bench.host.action(key)->isChecked());
            QVERIFY(bench.host.action("snd_stop")->isChecked());
        }
        view->repaint();
    }

    void addsFiles_data()
    {
        const auto add = columns<QByteArray, bool>("bytes", "isSound");
        const QByteArray good = wav(noise(1, 16, 22050, 400, 3));
        add("good", good, true);
        add("cut behind its half", good.left(700), true);
        const QByteArray large = wav(noise(1, 16, 22050, 60000, 3));
        add("cut before its half", large.left(30000), false);
        add("the header alone", large.left(44), false);
        add("empty", QByteArray(), false);
        add("no WAV", QByteArray("OggS and nothing else that is known here, for a while"), false);
        QByteArray floats = good;
        floats[20] = 3;
        add("floats", floats, false);
    }

    void addsFiles()
    {
        const auto [bytes, isSound] = row<QByteArray, bool>();
        Bench bench;
        writeFile(bench.path("tested.wav"), bytes);
        const SoundSample second = noise(2, 8, 8000, 100, 4);
        writeFile(bench.path("second.wav"), wav(second));
        writeFile(bench.path("third.wav"), wav(second));
        bench.insert("old", noise(1, 8, 8000, 10, 1));
        bench.insert("last", noise(1, 8, 8000, 10, 2));
        const QStringList before = bench.all();
        bench.editor->asks = true;
        bench.host.dialogs().expectFiles({bench.path("tested.wav"), bench.path("second.wav")});
        bench.host.dialogs().expectDialog([](QDialog *dialog) {
            dialog->findChild<QTableWidget *>("files")->item(1, 1)->setText("renamed");
            dialog->accept();
        });
        if (!isSound)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_add");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.names(), isSound ? QStringList({"old", "tested", "renamed", "last"})
                                        : QStringList({"old", "renamed", "last"}));
        QCOMPARE(bench.current(), isSound ? 2 : 1);
        QCOMPARE(described(bench.editor->currentSound()->sample()), described(second));
        QCOMPARE(bench.host.options["snd_path"].toString(), bench.directory.path());
        if (!isSound)
            QCOMPARE(bench.host.dialogs().seen().last().title, QString("host text 2"));
        bench.editor->undo();
        QCOMPARE(bench.all(), before);

        // In place of the current one; only a sound does that.
        bench.editor->setCurrent(0);
        bench.host.options.remove("snd_path");
        bench.host.dialogs().expectFiles({bench.path("tested.wav")});
        if (!isSound)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_open_sample");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.all() == before, !isSound);
        QCOMPARE(bench.names(), QStringList({"old", "last"}));
        QCOMPARE(bench.host.options["snd_path"].toString(), bench.directory.path());
        QCOMPARE(bench.label("snd_info_lb").contains("22050"), isSound);

        // A cancel adds nothing, in the table of names and while the files are read.
        const QStringList now = bench.all();
        for (const unsigned int cancelAt : {0, 1, 2}) {
            bench.host.cancelAt = cancelAt;
            bench.host.dialogs().expectFiles({bench.path("second.wav"), bench.path("third.wav")});
            bench.host.dialogs().expectDialog(
                [cancelAt](QDialog *dialog) { cancelAt ? dialog->accept() : dialog->reject(); });
            bench.trigger("snd_add");
            QCOMPARE(bench.all(), now);
        }
        QCOMPARE(bench.host.progresses.last()->text, QString("Reading sounds..."));
        QCOMPARE(bench.host.progresses.last()->total, 2U);
    }

    void savesSounds()
    {
        Bench bench;
        const SoundSample samples[] = {noise(1, 8, 8000, 50, 1), noise(2, 16, 44100, 60, 2),
                                       noise(2, 24, 48000, 70, 3)};
        const QString names[] = {"a/b", "B%1", "b%1"};
        for (int i = 0; i < 3; ++i)
            bench.insert(names[i], samples[i]);
        const auto save = [&bench](const QString &name) {
            bench.host.dialogs().expectFiles({bench.path(name)});
        };
        bench.selectRows({});
        save("one"); // the current one
        bench.trigger("snd_save_sample");
        QCOMPARE(readFile(bench.path("one.wav")), wav(samples[0]));
        QVERIFY(bench.host.progresses.isEmpty());
        QCOMPARE(bench.host.options["snd_path"].toString(), bench.directory.path());

        bench.selectRows({0, 1, 2});
        save("set.wav");
        bench.trigger("snd_save_sample");
        const QStringList files{"set_a_b.wav", "set_B%1.wav", "set_b%1_2.wav"};
        for (int i = 0; i < 3; ++i)
            QCOMPARE(readFile(bench.path(files[i])), wav(samples[i]));
        QCOMPARE(bench.host.progresses.last()->text, QString("Save sound as..."));
        QCOMPARE(bench.host.progresses.last()->steps, QList<unsigned int>({0, 1, 2, 3}));
        QCOMPARE(bench.host.progresses.last()->finished, 1);

        // They are asked about; a cancel leaves all as it was.
        QVERIFY(QFile::remove(bench.path(files[2])));
        writeFile(bench.path(files[0]), "old");
        writeFile(bench.path(files[1]), "old");
        const auto there = [&bench] {
            return QDir(bench.directory.path()).entryList(QDir::Files | QDir::Hidden);
        };
        const QStringList before = there();
        for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
            bench.host.cancelAt = answer == QMessageBox::Yes ? 3 : 0;
            save("set.wav");
            bench.host.dialogs().expectBox(answer);
            bench.trigger("snd_save_sample");
            QCOMPARE(there(), before);
            QCOMPARE(readFile(bench.path(files[0])), QByteArray("old"));
        }

        // A disk with room for two of them: a message with the name of the third.
        bench.host.cancelAt = 0;
        save("set.wav");
        bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        {
            const FullDisk full(300);
            bench.trigger("snd_save_sample");
        }
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QVERIFY(bench.host.dialogs().seen().last().text.endsWith("\n" + bench.path(files[2])));
        QCOMPARE(there(), before);
        QCOMPARE(readFile(bench.path(files[1])), wav(samples[1]));
    }

    void resamples_data()
    {
        const auto add =
            columns<QList<int>, QStringList, int, int>("rows", "format", "changed", "cancelAt");
        add("one", {0}, {"22050 Hz", "16 bits", "Mono"}, 1, 0);
        add("all, of which one is so already", {0, 1, 2, 3}, {"11025 Hz", "8 bits", "Mono"}, 3, 0);
        add("none", {}, {"22050 Hz", "16 bits", "Mono"}, 0, 0);
        add("already so", {1}, {"11025 Hz", "8 bits", "Mono"}, 0, 0);
        add("cancelled at the first", {0, 2, 3}, {"8000 Hz", "8 bits", "Stereo"}, 0, 1);
        add("cancelled at the last", {0, 2, 3}, {"8000 Hz", "8 bits", "Stereo"}, 0, 3);
        add("one that is refused", {0, 4}, {"96000 Hz", "16 bits", "Stereo"}, 1, 0);
        add("one without frames", {0, 5}, {"8000 Hz", "16 bits", "Stereo"}, 2, 0);
        add("one that is damaged", {0, 6}, {"8000 Hz", "16 bits", "Stereo"}, 1, 0);
    }

    void resamples()
    {
        const auto [rows, format, changed, cancelAt] = row<QList<int>, QStringList, int, int>();
        // A pool of one takes two of them at first.
        QThreadPool *pool = QThreadPool::globalInstance();
        const int threads = pool->maxThreadCount();
        pool->setMaxThreadCount(1);
        const auto restore = qScopeGuard([=] { pool->setMaxThreadCount(threads); });
        Bench bench;
        bench.insert("a", noise(2, 16, 44100, 300, 1));
        bench.insert("b", noise(1, 8, 11025, 300, 2));
        bench.insert("c", noise(2, 24, 48000, 300, 3));
        bench.insert("d", noise(1, 32, 32000, 300, 4));
        bench.insert("e", noise(1, 8, 100, 300, 5)); // 960 times is too much
        bench.insert("f", noise(1, 8, 22050, 0, 0));
        bench.insert("g", noise(1, 16, 22050, 300, 6));
        damage(*bench.file, 6, bench.path("all.peal"));
        const QStringList refused = rows.contains(4)   ? QStringList("e")
                                    : rows.contains(6) ? QStringList("g")
                                                       : QStringList();
        const QStringList before = bench.all();
        SampleInfo target =
            formatOf(format[2] == "Mono" ? 1 : 2, format[1].section(' ', 0, 0).toInt(),
                     format[0].section(' ', 0, 0).toUInt());
        QStringList expected;
        for (unsigned int i = 0; i < bench.file->itemCount(); ++i) {
            SoundSample sample = bench.file->itemAt(i)->sample();
            if (changed > 0 && rows.contains(int(i)) && i < 6)
                Kiln::resample(sample, target, sample);
            expected << bench.file->itemAt(i)->identifier() + ": " + described(sample);
        }
        bench.host.cancelAt = unsigned(cancelAt);
        // While it works, no other command does anything.
        bench.host.duringProgress = [&bench] {
            for (const char *other : {"add", "delete", "duplicate", "open_sample", "save_sample",
                                      "resample", "import_proj"})
                bench.trigger(QByteArray("snd_") + other);
        };
        expectResample(bench, rows, format);
        if (!refused.isEmpty())
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_resample");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        if (!refused.isEmpty())
            QCOMPARE(bench.host.dialogs().seen().last().text,
                     "These sounds could not be resampled:\n" + refused.first());
        QCOMPARE(bench.all(), expected);
        if (changed > 0) {
            const auto progress = bench.host.progresses.last();
            QCOMPARE(progress->text, QString("Resampling..."));
            QCOMPARE(progress->total, unsigned(rows.size() - rows.count(1)));
            QCOMPARE(progress->steps.last(), progress->total);
            QVERIFY(progress->cancellable);
            QVERIFY(bench.label("snd_info_lb")
                        .contains(QString("Sample rate: %1").arg(target.sampleRate)));
            bench.editor->undo();
        }
        QCOMPARE(bench.all(), before);
        QCOMPARE(bench.host.progresses.size() > 0 ? bench.host.progresses.last()->finished : 1, 1);
        bench.editor->redo();
        QCOMPARE(bench.all(), expected);
    }

    void aLongConversionShowsThatItGoesOn()
    {
        Bench bench;
        bench.insert("long", noise(2, 16, 44100, 20 * 44100, 1));
        expectResample(bench, {0}, {"48000 Hz", "16 bits", "Stereo"});
        bench.trigger("snd_resample");
        QVERIFY(bench.host.progresses.last()->steps.count(0) > 1);
    }

    void dialogStartsOnTheSound_data()
    {
        const auto add = columns<int, int, int, QStringList>("rate", "bits", "channels", "shown");
        add("offered", 32000, 8, 2, {"32000 Hz", "8 bits", "Stereo"});
        add("not offered", 18900, 24, 6, {"16000 Hz", "16 bits", "Stereo"});
        add("far above", 384000, 16, 1, {"192000 Hz", "16 bits", "Mono"});
    }

    void dialogStartsOnTheSound()
    {
        const auto [rate, bits, channels, shown] = row<int, int, int, QStringList>();
        Bench bench;
        bench.insert("a", noise(1, 8, 8000, 10, 1));
        bench.insert("b", noise(1, 8, 8000, 10, 1));
        ResampleDlg dialog(nullptr, bench.file.get(), 1, unsigned(rate), bits, channels);
        QCOMPARE(dialog.selectedRows(), QList<int>{1});
        const QStringList found{dialog.findChild<QComboBox *>("sampleRate")->currentText(),
                                dialog.findChild<QComboBox *>("bits")->currentText(),
                                dialog.findChild<QComboBox *>("channels")->currentText()};
        QCOMPARE(found, shown);
        QCOMPARE(tabOrder(dialog), QStringList({"items", "Clear", "Invert selection", "Select all",
                                                "sampleRate", "bits", "channels", "OK", "Cancel"}));
    }

    void finds_data()
    {
        const auto add = columns<QString, int, int, int>("text", "flags", "from", "found");
        // The sounds are named jump, Jump, jumpy, hit, jump.
        add("behind", "jump", 0, 0, 1);
        add("not a part", "jum", 0, 0, -1);
        add("with its case", "jump", 2, 0, 4);
        add("not around the end", "hit", 0, 3, -1);
        add("around the end", "jump", 8, 4, 0);
        add("to itself", "hit", 8, 3, 3);
        add("backward", "jump", 4, 4, 1);
        add("backward, around the start", "hit", 12, 1, 3);
        add("a dot is a dot", "j.mp", 0, 0, -1);
        add("an expression", "^j.mp", 1, 1, 2);
        add("a part of an expression", "i", 1, 0, 3);
        add("a faulty expression", "(", 1, 0, -1);
    }

    void finds()
    {
        const auto [text, flags, from, found] = row<QString, int, int, int>();
        Bench bench;
        for (const char *name : {"jump", "Jump", "jumpy", "hit", "jump"})
            bench.insert(name, noise(1, 8, 8000, 10, 1));
        bench.editor->setCurrent(unsigned(from));
        QCOMPARE(bench.editor->find(bench.file.get(), text, unsigned(flags)), found >= 0);
        QCOMPARE(bench.current(), found >= 0 ? found : from);
    }

    void asksBeforeItDeletes()
    {
        Bench bench;
        bench.insert("0", noise(1, 8, 8000, 10, 1));
        bench.host.options.remove("confirm_delete");
        for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
            bench.host.dialogs().expectBox(answer);
            bench.trigger("snd_delete");
            QCOMPARE(bench.names().size(), int(answer == QMessageBox::No));
        }
        QCOMPARE(bench.host.dialogs().seen().last().text,
                 QString("Do you really want to delete the sprite?"));
        QCOMPARE(bench.host.dialogs().seen().last().defaultButton, QMessageBox::No);
    }

    void doesNothingWithoutASound_data()
    {
        const auto add = columns<QString>("keys");
        add("no file",
            "add delete duplicate open_sample save_sample resample import_proj prev next");
        add("an empty file", "delete duplicate open_sample save_sample resample prev next");
        add("the file goes as the editor comes", "add duplicate save_sample import_proj");
    }

    // Whoever triggers what is not offered.
    void doesNothingWithoutASound()
    {
        const auto [keys] = row<QString>();
        Heroes heroes;
        Bench &bench = heroes.bench;
        const bool goes = !keys.contains("next");
        const bool isEmpty = !keys.contains("add");
        while (isEmpty && heroes.target->itemCount() > 0)
            heroes.target->remove(0);
        if (goes)
            bench.editor->onActivate = [&] { bench.editor->setCurrentFile(nullptr); };
        const QStringList before = entries(*heroes.target);
        writeFile(bench.path("none.wav"), "");
        for (const QString &key : keys.split(' ')) {
            bench.editor->deactivate();
            bench.host.activeEditor = nullptr;
            bench.editor->setCurrentFile(goes || isEmpty ? heroes.target : nullptr);
            if (goes && key == "add")
                bench.host.dialogs().expectFiles({bench.path("none.wav")});
            QAction *action = bench.host.action(qPrintable("snd_" + key));
            action->setEnabled(true);
            action->trigger();
            QVERIFY2(bench.host.dialogs().finish().isEmpty(), qPrintable(key));
            QVERIFY2(entries(*heroes.target) == before, qPrintable(key));
            QVERIFY2(heroes.target->option("snd_path").toString().isEmpty(), qPrintable(key));
        }
        bench.editor->replace("", "new", 0, true);
        bench.editor->replace(".", "new", Editor::RegularExpression, true);
        QVERIFY(!bench.editor->find(nullptr, "jump", 0));
        QCOMPARE(entries(*heroes.target), before);
    }

    void outlivesItsFile_data()
    {
        const auto add = columns<QByteArray>("key");
        for (const char *key :
             {"snd_add", "snd_open_sample", "snd_save_sample", "snd_delete", "snd_resample"})
            add(key, key);
    }

    // The file is closed behind the command's dialog, behind the table of names, and again while
    // its progress is shown.
    void outlivesItsFile()
    {
        QFETCH(QByteArray, key);
        for (const int when : {0, 1, 2}) {
            const bool late = when > 0;
            Bench bench;
            bench.host.options["confirm_delete"] = true;
            bench.editor->asks = true;
            for (int i = 0; i < 3; ++i)
                bench.insert(QString::number(i), noise(2, 16, 44100, 50, unsigned(i)));
            bench.selectRows({0, 1, 2});
            for (const char *name : {"new.wav", "more.wav"})
                writeFile(bench.path(name), wav(noise(1, 8, 8000, 10, 1)));
            const auto close = [&bench, late](QDialog *dialog) {
                if (!late)
                    bench.closeFile();
                dialog->accept();
            };
            bench.host.duringProgress = [&bench] { bench.closeFile(); };
            if (key == "snd_resample" && late)
                expectResample(bench, {0, 1, 2}, {"8000 Hz", "8 bits", "Mono"});
            else if (key == "snd_resample")
                bench.host.dialogs().expectDialog(close);
            else if (key == "snd_delete")
                bench.host.dialogs().expectDialog([&bench](QDialog *dialog) {
                    bench.closeFile();
                    qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::Yes)->click();
                });
            else
                bench.host.dialogs().expectDialog([&bench, close, key](QDialog *dialog) {
                    auto *edit = dialog->findChild<QLineEdit *>("fileNameEdit");
                    const QString name =
                        bench.path(key == "snd_save_sample" ? "out.wav" : "new.wav");
                    edit->setText(key == "snd_add"
                                      ? QString("\"%1\" \"%2\"").arg(name, bench.path("more.wav"))
                                      : name);
                    close(dialog);
                });
            if (key == "snd_add" && late)
                bench.host.dialogs().expectDialog([&bench, when](QDialog *dialog) {
                    if (when == 1)
                        bench.closeFile();
                    dialog->accept();
                });
            bench.trigger(key);
            QCOMPARE(bench.host.dialogs().finish(), QString());
            QVERIFY(!bench.file || key == "snd_open_sample");
            for (const auto &progress : qAsConst(bench.host.progresses))
                QCOMPARE(progress->finished, 1);
        }
    }

    void importsFromAProject_data()
    {
        // The items are rows of the source (wing, landing, nothing, which has no data, and
        // damaged), some under another name; the first sound of the target is the current one.
        const auto add = columns<bool, int, QList<int>, QStringList, QStringList, QStringList, int>(
            "isSaved", "policy", "answers", "before", "items", "after", "added");
        const int yes = QMessageBox::Yes, no = QMessageBox::No;
        const QStringList wing{"wing"}, all{"0", "0", "1", "2", "3"}, x{"x"}, two{"0", "1 wing"};
        const QStringList doubled{"wing old", "wing a", "wing a", "landing b"};
        for (const bool isSaved : {false, true}) {
            const auto both = [&](QByteArray name, int policy, const QList<int> &answers,
                                  const QStringList &before, const QStringList &items,
                                  const QStringList &after, int added) {
                name += isSaved ? ", source saved" : ", source modified";
                add(name, isSaved, policy, answers, before, items, after, added);
            };
            both("ask, yes", 0, {yes, yes}, wing, all, {"wing a", "landing b"}, 1);
            both("ask, no", 0, {no, no}, wing, all, doubled, 3);
            both("replace", 1, {}, wing, all, {"wing a", "landing b"}, 1);
            both("skip", 2, {}, wing, all, {"wing old", "landing b"}, 1);
            both("add anyway", 3, {}, wing, all, doubled, 3);
            both("into nothing", 0, {}, {}, {"1", "0"}, {"landing b", "wing a"}, 2);
            both("two of a name, replace", 1, {}, x, two, {"x old", "wing b"}, 1);
            both("two of a name, skip", 2, {}, x, two, {"x old", "wing a"}, 1);
            both("two of a name, ask", 0, {yes}, x, two, {"x old", "wing b"}, 1);
            both("the new one stands first", 0, {no, yes}, {"x", "wing"}, two,
                 {"x old", "wing b", "wing old"}, 1);
            both("the new one among both", 0, {yes, no, yes}, {"x", "wing"}, {"0", "0", "1 wing"},
                 {"x old", "wing b", "wing a"}, 1);
            both("the old one stands first", 0, {no, yes}, wing, two, {"wing b", "wing a"}, 1);
            both("nothing but replaced", 1, {}, wing, {"0"}, {"wing a"}, 0);
        }
    }

    void importsFromAProject()
    {
        const auto [isSaved, policy, answers, before, items, after, added] =
            row<bool, int, QList<int>, QStringList, QStringList, QStringList, int>();
        Heroes heroes;
        Bench &bench = heroes.bench;
        EmberSounds &source = *heroes.source;
        EmberSounds &target = *heroes.target;
        const SoundSample sample = noise(1, 8, 8000, 10, 1);
        while (target.itemCount() > 0)
            target.remove(0);
        for (const QString &name : before)
            target.insert(target.itemCount(), name, sample);
        bench.editor->setCurrent(0);
        const QStringList contents = entries(target);
        if (!isSaved)
            source.itemAt(0)->setSample(noise(2, 8, 8000, 40, 1));
        QCOMPARE(source.isModified(), !isSaved);
        const QMap<QString, QString> letters{{described(source.itemAt(0)->sample()), " a"},
                                             {described(source.itemAt(1)->sample()), " b"},
                                             {described(sample), " old"}};
        heroes.expectImport(items, policy);
        for (const int answer : answers)
            bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        for (int i = 0; i < items.count("2") + items.count("3"); ++i)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.host.dialogs().seen().last().text,
                 added ? QString("%1 sound(s) were imported!").arg(added)
                       : QString("No sound imported!"));
        QStringList found;
        for (unsigned int i = 0; i < target.itemCount(); ++i)
            found << target.itemAt(i)->identifier() +
                         letters.value(described(target.itemAt(i)->sample()));
        QCOMPARE(found, after);
        QCOMPARE(bench.current(), added && !before.isEmpty() ? 1 : 0);
        bench.editor->undo();
        QCOMPARE(entries(target), contents);

        // A cancel takes back what is in already, and tells nothing.
        bench.host.cancelAt = 1;
        heroes.expectImport({"0 one", "1 two"}, 3);
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(entries(target), contents);
        bench.editor->redo(); // the step that was undone before is there still
        QCOMPARE(target.itemCount(), unsigned(after.size()));
        bench.editor->undo();

        // With no other project there is nothing to choose from.
        bench.host.projects = {target.project()};
        bench.host.activeEditor->deactivate();
        bench.host.action("snd_import_proj")->setEnabled(true);
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.host.dialogs().expectDialog([&bench](QDialog *dialog) {
            QVERIFY(bench.editor->isActive());
            QCOMPARE(dialog->findChild<QComboBox *>("projects")->count(), 0);
            dialog->findChild<QPushButton *>("selectAll")->click();
            dialog->findChild<QPushButton *>("add")->click();
            dialog->accept();
        });
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().seen().last().text, QString("No sound imported!"));
    }

    // Behind a question or a warning, both lists have other rows: all is found where it is.
    void importFindsRowsOfNow()
    {
        for (const bool isWarning : {false, true}) {
            Heroes heroes;
            EmberSounds &target = *heroes.target;
            while (target.itemCount() > 0)
                target.remove(0);
            const SoundSample sample = noise(1, 8, 8000, 10, 1);
            for (const char *name : {"first", "wing", "landing"})
                target.insert(target.itemCount(), name, sample);
            heroes.expectImport(isWarning ? QStringList{"0 x", "2", "1"} : QStringList{"0", "1"},
                                isWarning ? 1 : 0);
            heroes.bench.host.dialogs().expectDialog([&](QDialog *dialog) {
                target.remove(0);
                heroes.source->move(0, 1);
                qobject_cast<QMessageBox *>(dialog)->buttons().first()->click();
            });
            if (!isWarning)
                heroes.bench.host.dialogs().expectBox(QMessageBox::Yes);
            heroes.bench.host.dialogs().expectBox(QMessageBox::Ok);
            heroes.bench.trigger("snd_import_proj");
            QCOMPARE(heroes.bench.host.dialogs().finish(), QString());
            const int landing = target.find(0, "landing");
            QVERIFY(landing >= 0);
            QCOMPARE(described(target.itemAt(unsigned(landing))->sample()),
                     described(heroes.source->itemAt(0)->sample()));
            QCOMPARE(target.itemCount(), isWarning ? 3u : 2u);
        }
    }

    void importOutlivesProjects_data()
    {
        const auto add = columns<int, bool>("when", "isSource");
        for (const bool isSource : {true, false}) {
            const QByteArray what =
                isSource ? "the source goes behind " : "the target goes behind ";
            add(what + "the dialog", 0, isSource);
            add(what + "a question", 1, isSource);
            add(what + "a warning", 2, isSource);
            add(what + "the progress", 3, isSource);
        }
    }

    void importOutlivesProjects()
    {
        const auto [when, isSource] = row<int, bool>();
        Heroes heroes;
        Bench &bench = heroes.bench;
        const QPointer<EmberSounds> target = heroes.target;
        target->itemAt(0)->setProperty("Identifier", "wing");
        const QStringList contents = entries(*target);
        const auto close = [&heroes, isSource = isSource] {
            if (!isSource)
                heroes.bench.editor->setCurrentFile(nullptr);
            Project *gone = (isSource ? heroes.source : heroes.target)->project();
            heroes.bench.host.projects.removeOne(gone);
            gone->release();
        };
        const auto closeBehind = [close](QDialog *dialog) {
            close();
            qobject_cast<QMessageBox *>(dialog)->buttons().first()->click();
        };
        heroes.expectImport({"2", "0", "1"}, 0, when == 0 ? close : std::function<void()>());
        if (when == 2)
            bench.host.dialogs().expectDialog(closeBehind);
        else if (when > 0)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        if (when == 1)
            bench.host.dialogs().expectDialog(closeBehind);
        else if (when == 3)
            bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.host.duringProgress = close;
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(!target, !isSource);
        if (target)
            QCOMPARE(entries(*target), contents);
    }

    // What the search leaves in sight is selected and added, in the order of the selection.
    void choosesFromTheSource()
    {
        Heroes heroes;
        ImportModel plain;
        plain.append(3, "a");
        for (const int row : {-1, 1})
            plain.remove(row); // what is not there
        QVERIFY(plain.setData(plain.index(0), "b", Qt::DisplayRole));
        QCOMPARE(plain.index(0).data(), QVariant("a"));
        QVERIFY(!plain.index(0).data(Qt::ToolTipRole).isValid() && !plain.data({}).isValid());
        SndImportDlg dialog(&heroes.bench.host, heroes.target->project(), nullptr);
        dialog.show();
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        auto *projects = dialog.findChild<QComboBox *>("projects");
        QCOMPARE(projects->count(), int(heroes.bench.host.projects.size()) - 1);
        QCOMPARE(projects->currentText(), heroes.source->project()->displayName());
        auto *source = dialog.findChild<QListView *>("source");
        QAbstractItemModel *chosen = dialog.findChild<QListView *>("destination")->model();
        QCOMPARE(tabOrder(dialog),
                 QStringList({"projects", "search", "source", "play", "clear", "selectAll",
                              "invert", "destination", "add", "remove", "policy0", "policy1",
                              "policy2", "policy3", "OK", "Cancel"}));
        QVERIFY(projects->hasFocus());
        auto *wave = dialog.findChild<AudioSampleWidget *>();
        auto *play = dialog.findChild<QPushButton *>("play");
        const auto click = [&dialog](const char *name) {
            dialog.findChild<QPushButton *>(name)->click();
        };
        const auto take = [&] {
            click("add");
            QStringList names;
            auto *selection = dialog.findChild<QListView *>("destination")->selectionModel();
            for (int row = chosen->rowCount(); row-- > 0;) { // all at once, the last one first
                names.prepend(chosen->index(row, 0).data().toString());
                selection->select(chosen->index(row, 0), QItemSelectionModel::Select);
            }
            click("remove");
            return chosen->rowCount() > 0 ? QStringList("LEFT") : names;
        };
        QStringList all;
        for (unsigned int i = 0; i < heroes.source->itemCount(); ++i)
            all << heroes.source->itemAt(i)->identifier();
        QVERIFY(!play->isEnabled());
        click("selectAll");
        QCOMPARE(take(), all);
        auto *search = dialog.findChild<QLineEdit *>("search");
        search->setFocus();
        QTest::keyClicks(search, "N");
        QTest::keyClick(search, Qt::Key_Return);
        QVERIFY(dialog.isVisible() && source->hasFocus());
        const QStringList some = all.filter("n", Qt::CaseInsensitive);
        QVERIFY(some.size() > 1 && some.size() < all.size());
        QCOMPARE(take(), some);
        click("invert");
        QCOMPARE(take(), QStringList());
        click("invert");
        click("clear");
        QCOMPARE(take(), QStringList());
        search->clear();
        for (const int row : {4, 1})
            source->selectionModel()->select(source->model()->index(row, 0),
                                             QItemSelectionModel::Select);
        QCOMPARE(take(), QStringList({all[4], all[1]}));

        // Rows of the source that change take back what was chosen of it.
        click("selectAll");
        click("add");
        heroes.source->move(0, 1);
        QCOMPARE(chosen->rowCount(), 0);
        heroes.source->move(0, 1);
        click("add");
        QVERIFY(chosen->rowCount() > 0);
        source->setCurrentIndex(source->model()->index(0, 0));
        heroes.source->reload();
        QCOMPARE(chosen->rowCount(), 0);
        QVERIFY(!play->isEnabled());

        // The current one is seen; without a device the view tells why it is not heard.
        source->setCurrentIndex(source->model()->index(1, 0));
        QVERIFY(!wave->levels().isEmpty() && play->isEnabled());
        QTest::keyClick(play, Qt::Key_Space);
        QVERIFY(!play->isChecked() && wave->fault().contains("no sound device"));

        // A name that is still being typed counts.
        click("add");
        auto *destination = dialog.findChild<QListView *>("destination");
        destination->edit(chosen->index(0, 0));
        destination->findChild<QLineEdit *>()->setText("typed");
        dialog.accept();
        QCOMPARE(dialog.options().items.first()->name, QString("typed"));

        // A name that two sources have, or the destination, is told with the place of each.
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", heroes.bench.path("twin/"));
        EmberParentProject *twin =
            EmberParentProject::open(heroes.bench.path("twin/"), FileSystemArchive::instance());
        heroes.bench.host.projects += twin->openedProjects();
        SndImportDlg both(&heroes.bench.host, heroes.target->project(), nullptr);
        both.show();
        projects = both.findChild<QComboBox *>("projects");
        Project *wren = heroes.source->project();
        const QString told = QString("%1 (%2)").arg(wren->displayName(), wren->fileName());
        QVERIFY(projects->findText(told) >= 0 && projects->findText(wren->displayName()) < 0);
        const QString moss = heroes.target->project()->displayName();
        const int other = projects->findText(moss + " (", Qt::MatchStartsWith);
        QVERIFY(other >= 0 && projects->findText(moss) < 0);

        // The rows of one that was left say nothing about the other.
        projects->setCurrentIndex(projects->findText(told));
        auto *first = both.findChild<QListView *>("source");
        first->setCurrentIndex(first->model()->index(0, 0));
        QVERIFY(both.findChild<QPushButton *>("play")->isEnabled());
        projects->setCurrentIndex(other);
        QVERIFY(!both.findChild<QPushButton *>("play")->isEnabled());
        both.findChild<QPushButton *>("selectAll")->click();
        both.findChild<QPushButton *>("add")->click();
        heroes.source->move(0, 1);
        QVERIFY(!both.options().items.isEmpty());
        twin->close();

        // The editor goes along with the project.
        heroes.bench.host.activeProject = wren;
        heroes.bench.editor->contentsChanged();
        QCOMPARE(heroes.bench.editor->currentFile(), heroes.source);
    }

    // Every field has a place of its own, and what has a picture is seen beside its name.
    void laysOutTheImport()
    {
        Heroes heroes;
        Interface *host = &heroes.bench.host;
        Project *to = heroes.target->project();
        auto *sprites =
            dynamic_cast<EmberSprites *>(heroes.source->project()->file(Project::FileID::Sprites));
        QImage picture(60, 30, QImage::Format_ARGB32); // larger than its place
        picture.fill(Qt::red);
        const std::unique_ptr<ProjImportDlg> dialogs[] = {
            std::make_unique<AnimImportDlg>(host, to, nullptr),
            std::make_unique<SprImportDlg>(host, to, nullptr),
            std::make_unique<SndImportDlg>(host, to, nullptr)};
        for (const auto &dialog : dialogs) {
            dialog->show();
            QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
            auto *projects = dialog->findChild<QComboBox *>("projects");
            const int wren = projects->findText(heroes.source->project()->displayName());
            for (const int row : {0, 1, wren})
                projects->setCurrentIndex(row);
            auto *palettes = dialog->findChild<QComboBox *>("palette");
            QCOMPARE(palettes != nullptr, dialog == dialogs[1]);
            if (palettes)
                QCOMPARE(palettes->count(), int(sprites->palettes()->count()));
            QCOMPARE(misplaced(*dialog), QStringList());
            for (const QPushButton *button : dialog->findChildren<QPushButton *>())
                QCOMPARE(button->autoDefault(), button->objectName().isEmpty());
            const auto *list = dialog->findChild<QListView *>("source");
            QCOMPARE(told(*list, "accessibleName selectionMode editTriggers"),
                     QString("Source ExtendedSelection NoEditTriggers"));
            if (auto *animations = dynamic_cast<Animations *>(list->model()))
                sprites->insert(0, animations->at(0)->frameAt(0)->identifier(), picture);
            if (dialog == dialogs[2])
                continue;
            const auto red = [list] {
                const QImage shown = list->viewport()->grab().toImage();
                QRect place;
                for (int y = 0; y < shown.height(); ++y) {
                    for (int x = 0; x < shown.width(); ++x)
                        place |= shown.pixelColor(x, y) == Qt::red ? QRect(x, y, 1, 1) : QRect();
                }
                return place;
            };
            QTRY_COMPARE(red().size(), QSize(32, 16));
            const QRect row = list->visualRect(list->model()->index(0, 0));
            QVERIFY(row.contains(red()) && row.height() == 36);
        }
    }

    // A plain list is changed beside it, saved and loaded between; undo goes back to the start.
    void randomUser()
    {
        QSet<int> used;
        for (unsigned int seed = 1; seed <= 6; ++seed) {
            RandomUser user(seed);
            for (int step = 0; step < 90 && !QTest::currentTestFailed(); ++step)
                used << user.act();
            user.goBackAndForth();
        }
        QCOMPARE(used.size(), RandomUser::commands);
    }
};

QTEST_MAIN(tst_SoundEditor)
#include "tst_soundeditor.moc"
