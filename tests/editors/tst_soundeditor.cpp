#include "soundtest.h"

#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <kilnx/forms/resampledlg.h>
#include <tests/support/fulldisk.h>
#include <tests/support/rows.h>

using namespace SoundTest;

namespace
{

/// Accepts ResampleDlg on these rows and this format.
void expectResample(Bench &bench, const QList<int> &rows, const QStringList &format)
{
    bench.host.dialogs().expectDialog([rows, format](QDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), QString("Resample"));
        auto *list = dialog->findChild<QListView *>("items");
        list->clearSelection();
        for (const int row : rows)
            list->selectionModel()->select(list->model()->index(row, 0),
                                           QItemSelectionModel::Select);
        const char *fields[] = {"sampleRate", "bits", "channels"};
        for (int i = 0; i < 3; ++i)
            dialog->findChild<QComboBox *>(fields[i])->setCurrentText(format[i]);
        dialog->accept();
    });
}

SampleInfo formatOf(int channels, int bits, unsigned int rate)
{
    return noise(channels, bits, rate, 0, 0);
}

} // namespace

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
        QCOMPARE(bench.label("snd_sel_lb"), QString("1 / 2"));
        auto *slider = qobject_cast<QSlider *>(bench.host.control("snd_sel"));
        QCOMPARE(slider->maximum(), 1);
        slider->setValue(1);
        QCOMPARE(bench.editor->currentSound(), bench.file->itemAt(1));
        bench.trigger("snd_prev");
        bench.trigger("snd_prev");
        QCOMPARE(bench.current(), 0);
        emit bench.host.organizer->itemClicked(1);
        QCOMPARE(slider->value(), 1);
        // The file's undo takes the shown sound away, and the redo brings it back.
        bench.editor->undo();
        QCOMPARE(bench.label("snd_sel_lb"), QString("1 / 1"));
        bench.editor->undo();
        QCOMPARE(bench.label("snd_info_lb"), none);
        QVERIFY(!bench.host.action("snd_delete")->isEnabled());
        bench.editor->redo();
        QCOMPARE(bench.label("snd_info_lb"), told);
        bench.host.activeEditor->deactivate();
        QVERIFY(!bench.host.action("snd_add")->isEnabled());
        QCOMPARE(bench.host.organizer->object(), nullptr);
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
        bench.host.dialogs().expectFiles({bench.path("tested.wav")});
        if (!isSound)
            bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_open_sample");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.all() == before, !isSound);
        QCOMPARE(bench.names(), QStringList({"old", "last"}));
        QCOMPARE(bench.label("snd_info_lb").contains("22050"), isSound);

        // A cancel in the table of names adds nothing.
        const QStringList now = bench.all();
        bench.host.dialogs().expectFiles({bench.path("second.wav")});
        bench.host.dialogs().expectDialog([](QDialog *dialog) { dialog->reject(); });
        bench.trigger("snd_add");
        QCOMPARE(bench.all(), now);
    }

    void savesSounds()
    {
        Bench bench;
        const SoundSample samples[] = {noise(1, 8, 8000, 50, 1), noise(2, 16, 44100, 60, 2),
                                       noise(2, 24, 48000, 70, 3)};
        const QString names[] = {"a/b", "B", "b"};
        for (int i = 0; i < 3; ++i)
            bench.insert(names[i], samples[i]);
        const auto save = [&bench](const QString &name) {
            bench.host.dialogs().expectFiles({bench.path(name)});
        };
        save("one"); // the current one
        bench.trigger("snd_save_sample");
        QCOMPARE(readFile(bench.path("one.wav")), wav(samples[0]));
        QVERIFY(bench.host.progresses.isEmpty());

        bench.selectRows({0, 1, 2});
        save("set.wav");
        bench.trigger("snd_save_sample");
        const QStringList files{"set_a_b.wav", "set_B.wav", "set_b_2.wav"};
        for (int i = 0; i < 3; ++i)
            QCOMPARE(readFile(bench.path(files[i])), wav(samples[i]));
        QCOMPARE(bench.host.progresses.last()->text, QString("Save sound as..."));
        QCOMPARE(bench.host.progresses.last()->steps, QList<unsigned int>({0, 1, 2, 3}));
        QCOMPARE(bench.host.progresses.last()->finished, 1);

        // They are asked about; a cancel stops at once, and leaves whole files alone.
        writeFile(bench.path(files[0]), "old");
        writeFile(bench.path(files[1]), "old");
        bench.host.cancelAt = 1;
        save("set.wav");
        bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.trigger("snd_save_sample");
        QCOMPARE(readFile(bench.path(files[0])), wav(samples[0]));
        QCOMPARE(readFile(bench.path(files[1])), QByteArray("old"));

        // A full disk: a message with all names, and the old files as they were.
        bench.host.cancelAt = 0;
        save("set.wav");
        bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        {
            const FullDisk full(64);
            bench.trigger("snd_save_sample");
        }
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QVERIFY(bench.host.dialogs().seen().last().text.contains("set_b_2.wav"));
        QCOMPARE(readFile(bench.path(files[0])), wav(samples[0]));
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
    }

    void resamples()
    {
        const auto [rows, format, changed, cancelAt] = row<QList<int>, QStringList, int, int>();
        Bench bench;
        bench.insert("a", noise(2, 16, 44100, 300, 1));
        bench.insert("b", noise(1, 8, 11025, 300, 2));
        bench.insert("c", noise(2, 24, 48000, 300, 3));
        bench.insert("d", noise(1, 32, 32000, 300, 4));
        bench.insert("e", noise(1, 8, 100, 300, 5)); // 960 times is too much
        const QStringList before = bench.all();
        SampleInfo target =
            formatOf(format[2] == "Mono" ? 1 : 2, format[1].section(' ', 0, 0).toInt(),
                     format[0].section(' ', 0, 0).toUInt());
        QStringList expected;
        for (unsigned int i = 0; i < 5; ++i) {
            SoundSample sample = bench.file->itemAt(i)->sample();
            if (changed > 0 && rows.contains(int(i)))
                Kiln::resample(sample, target, sample);
            expected << bench.file->itemAt(i)->identifier() + ": " + described(sample);
        }
        bench.host.cancelAt = unsigned(cancelAt);
        expectResample(bench, rows, format);
        bench.trigger("snd_resample");
        QCOMPARE(bench.host.dialogs().finish(), QString());
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
        if (found < 0)
            return;
        const QStringList before = bench.names();
        bench.editor->replace(text, "new", unsigned(flags), false);
        QStringList expected = before;
        expected[found] = "new";
        QCOMPARE(bench.names(), expected);
        bench.editor->undo();
        bench.editor->replace(text, "new", unsigned(flags), true);
        const bool withCase = flags & Editor::CaseSensitive;
        const QRegularExpression same(flags & 1 ? text
                                                : '^' + QRegularExpression::escape(text) + '$',
                                      withCase ? QRegularExpression::NoPatternOption
                                               : QRegularExpression::CaseInsensitiveOption);
        for (int i = 0; i < before.size(); ++i)
            QCOMPARE(bench.names()[i] == "new", same.match(before[i]).hasMatch());
        bench.editor->undo();
        QCOMPARE(bench.names(), before);
    }

    void deletesAndDuplicates()
    {
        Bench bench;
        for (int i = 0; i < 4; ++i)
            bench.insert(QString::number(i), noise(1, 8, 8000, 10 + i, unsigned(i)));
        bench.host.options["confirm_delete"] = true;
        bench.editor->setCurrent(1);
        bench.host.dialogs().expectBox(QMessageBox::No);
        bench.trigger("snd_delete");
        QCOMPARE(bench.names().size(), 4);
        QCOMPARE(bench.host.dialogs().seen().last().text,
                 QString("Do you really want to delete the sprite?"));
        QCOMPARE(bench.host.dialogs().seen().last().defaultButton, QMessageBox::No);
        bench.host.dialogs().expectBox(QMessageBox::Yes);
        bench.trigger("snd_delete");
        QCOMPARE(bench.names(), QStringList({"0", "2", "3"}));
        QCOMPARE(bench.label("snd_sel_lb"), QString("2 / 3"));
        bench.trigger("snd_duplicate");
        QCOMPARE(bench.names(), QStringList({"0", "2", "2", "3"}));
        QCOMPARE(bench.current(), 1);
        QCOMPARE(bench.all()[1], bench.all()[2]);
        bench.editor->setCurrent(3);
        bench.host.options["confirm_delete"] = false;
        bench.trigger("snd_delete");
        QCOMPARE(bench.label("snd_sel_lb"), QString("3 / 3"));
    }

    void outlivesItsFile_data()
    {
        const auto add = columns<QByteArray>("key");
        for (const char *key :
             {"snd_add", "snd_open_sample", "snd_save_sample", "snd_delete", "snd_resample"})
            add(key, key);
    }

    // The file is closed behind the command's dialog, and again while its progress is shown.
    void outlivesItsFile()
    {
        QFETCH(QByteArray, key);
        for (const bool late : {false, true}) {
            Bench bench;
            bench.host.options["confirm_delete"] = true;
            bench.editor->asks = true;
            for (int i = 0; i < 3; ++i)
                bench.insert(QString::number(i), noise(2, 16, 44100, 50, unsigned(i)));
            bench.selectRows({0, 1, 2});
            writeFile(bench.path("new.wav"), wav(noise(1, 8, 8000, 10, 1)));
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
                    edit->setText(bench.path(key == "snd_save_sample" ? "out.wav" : "new.wav"));
                    close(dialog);
                });
            if (key == "snd_add" && late)
                bench.host.dialogs().expectDialog([&bench](QDialog *dialog) {
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
        // The source's wing, wing again, landing, and one without data; the target has a wing.
        const auto add = columns<int, QList<int>, QStringList, int, bool>(
            "policy", "answers", "names", "added", "replaced");
        const int yes = QMessageBox::Yes, no = QMessageBox::No;
        add("ask, yes", 0, {yes, yes}, {"wing", "landing"}, 1, true);
        add("ask, no", 0, {no, no}, {"wing", "wing", "wing", "landing"}, 3, false);
        add("replace", 1, {}, {"wing", "landing"}, 1, true);
        add("skip", 2, {}, {"wing", "landing"}, 1, false);
        add("add anyway", 3, {}, {"wing", "wing", "wing", "landing"}, 3, false);
    }

    void importsFromAProject()
    {
        const auto [policy, answers, names, added, replaced] =
            row<int, QList<int>, QStringList, int, bool>();
        Bench bench;
        bench.host.currentEngine = &EmberEngine::instance();
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", bench.path("hero/"));
        auto *parent = EmberParentProject::open(bench.path("hero/"), FileSystemArchive::instance());
        QVERIFY(parent);
        QMap<QString, EmberSounds *> files;
        for (Project *project : parent->openedProjects())
            files.insert(QFileInfo(project->fileName()).baseName(),
                         dynamic_cast<EmberSounds *>(project->file(Project::FileID::Sounds)));
        EmberSounds *source = files["wren"];
        EmberSounds *target = files["moss"];
        QVERIFY(source && target);
        bench.host.projects = parent->openedProjects();
        // What is not saved counts.
        source->itemAt(0)->setSample(noise(2, 8, 8000, 40, 1));
        source->insert(2, "nothing", SoundSample());
        while (target->itemCount() > 1)
            target->remove(1);
        target->itemAt(0)->setProperty("Identifier", "wing");
        const QString old = described(target->itemAt(0)->sample());
        bench.host.activeProject = target->project();
        bench.editor->setCurrentFile(target);
        bench.host.dialogs().expectDialog([&, policy = policy](QDialog *dialog) {
            auto *projects = dialog->findChild<QComboBox *>("projects");
            QVERIFY(projects->findText(target->project()->displayName()) < 0);
            projects->setCurrentIndex(projects->findText(source->project()->displayName()));
            auto *list = dialog->findChild<QListView *>("source");
            for (const int each : {0, 0, 1, 2}) {
                list->selectionModel()->select(list->model()->index(each, 0),
                                               QItemSelectionModel::ClearAndSelect);
                dialog->findChild<QPushButton *>("add")->click();
            }
            dialog->findChild<QRadioButton *>(QString("policy%1").arg(policy))->click();
            dialog->accept();
        });
        for (const int answer : answers)
            bench.host.dialogs().expectBox(QMessageBox::StandardButton(answer));
        bench.host.dialogs().expectBox(QMessageBox::Ok); // the one without data
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.host.dialogs().seen().last().text,
                 QString("%1 sound(s) were imported!").arg(added));
        QStringList found;
        for (unsigned int i = 0; i < target->itemCount(); ++i)
            found << target->itemAt(i)->identifier();
        QCOMPARE(found, names);
        QCOMPARE(described(target->itemAt(0)->sample()) != old, replaced);
        const QString wing = described(source->itemAt(0)->sample());
        QCOMPARE(described(target->itemAt(0)->sample()) == wing, replaced);
        QCOMPARE(bench.editor->currentSound(), target->itemAt(1));
        bench.editor->undo();
        QCOMPARE(target->itemCount(), 1u);
        QCOMPARE(described(target->itemAt(0)->sample()), old);

        // With no other project there is nothing to choose from.
        bench.host.projects = {target->project()};
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.host.dialogs().expectDialog([](QDialog *dialog) {
            QCOMPARE(dialog->findChild<QComboBox *>("projects")->count(), 0);
            dialog->accept();
        });
        bench.host.dialogs().expectBox(QMessageBox::Ok);
        bench.trigger("snd_import_proj");
        QCOMPARE(bench.host.dialogs().seen().last().text, QString("No sound imported!"));
        bench.editor->setCurrentFile(nullptr);
        parent->close();
    }

    // A plain list is changed beside it, saved and loaded between; undo goes back to the start.
    void randomUser()
    {
        for (unsigned int seed = 1; seed <= 6; ++seed) {
            std::mt19937 random(seed);
            Bench bench;
            QVector<QStringList> states{bench.all()};
            int at = 0; // in the states
            for (int step = 0; step < 60; ++step)
                actAtRandom(bench, random, states, at);
            while (at > 0) {
                bench.editor->undo();
                QCOMPARE(bench.all(), states[--at]);
            }
            while (at < states.size() - 1) {
                bench.editor->redo();
                QCOMPARE(bench.all(), states[++at]);
            }
        }
    }

private:
    static void
    actAtRandom(Bench &bench, std::mt19937 &random, QVector<QStringList> &states, int &at)
    {
        QStringList model = states[at];
        const int count = model.size();
        if (count > 0)
            bench.editor->setCurrent(random() % unsigned(count));
        const int row = bench.current();
        const SoundSample sample =
            noise(1 + int(random() % 2), 8 * (1 + int(random() % 2)), random() % 2 ? 8000 : 11025,
                  1 + int(random() % 30), unsigned(random()));
        const auto entry = [](const QString &name, const SoundSample &sound) {
            return name + ": " + described(sound);
        };
        const unsigned int what = random() % 9;
        const bool isOnOne = what > 2 && what < 8;
        if (isOnOne && count == 0)
            return;
        if (what < 2) {
            const QString name = QString("new%1").arg(random() % 5);
            writeFile(bench.path(name + ".wav"), wav(sample));
            writeFile(bench.path("two.wav"), wav(sample));
            bench.host.dialogs().expectFiles({bench.path(name + ".wav"), bench.path("two.wav")});
            bench.trigger("snd_add");
            model.insert(row + 1, entry("two", sample));
            model.insert(row + 1, entry(name, sample));
        } else if (what == 2) { // steps of the history
            const bool back = random() % 2;
            if (back ? at == 0 : at == states.size() - 1)
                return;
            back ? bench.editor->undo() : bench.editor->redo();
            at += back ? -1 : 1;
            QCOMPARE(bench.all(), states[at]);
            return;
        } else if (what == 3) {
            bench.trigger("snd_delete");
            model.removeAt(row);
        } else if (what == 4) {
            bench.trigger("snd_duplicate");
            model.insert(row + 1, model[row]);
        } else if (what == 5) {
            writeFile(bench.path("other.wav"), wav(sample));
            bench.host.dialogs().expectFiles({bench.path("other.wav")});
            bench.trigger("snd_open_sample");
            model[row] = entry(model[row].section(": ", 0, 0), sample);
        } else if (what == 6) {
            expectResample(bench, {0, row}, {"11025 Hz", "16 bits", "Stereo"});
            for (const int each : QSet<int>{0, row}) {
                SoundSample now = bench.file->itemAt(unsigned(each))->sample();
                Kiln::resample(now, formatOf(2, 16, 11025), now);
                model[each] = entry(model[each].section(": ", 0, 0), now);
            }
            bench.trigger("snd_resample");
        } else if (what == 7) {
            bench.editor->replace(".*", QString("name%1").arg(random() % 1000), 1, true);
            const QString name = bench.file->itemAt(0)->identifier();
            for (QString &each : model)
                each = name + ": " + each.section(": ", 1);
        } else {
            const QString path = bench.path("all.peal");
            QVERIFY(bench.file->toFile(FileSystemArchive::instance(), path, false));
            const std::unique_ptr<EmberSounds, Release> again(new EmberSounds(StreamCache::Disk));
            QVERIFY(again->fromFile(FileSystemArchive::instance(), path, false));
            QCOMPARE(entries(*again), model);
            QVERIFY(!bench.editor->isModified());
            return;
        }
        QCOMPARE(bench.host.dialogs().finish(), QString());
        QCOMPARE(bench.all(), model);
        if (model == states[at])
            return;
        states.resize(++at);
        states.append(model);
    }
};

QTEST_MAIN(tst_SoundEditor)
#include "tst_soundeditor.moc"
