#pragma once

#include "soundtest.h"

namespace SoundTest
{

/// Works on moss's sounds, and on a plain list of what they must be.
class RandomUser
{
public:
    static constexpr int commands = 16;

    explicit RandomUser(unsigned int seed)
        : m_random(seed)
    {
        while (m_file.itemCount() > 0)
            m_file.remove(0);
        m_states << entries(m_file);
    }

    /// Does one command, and returns which.
    int act()
    {
        m_model = m_states[m_at];
        const int count = m_model.size();
        const int what = int(m_random() % commands);
        m_row = count > 0 ? int(m_random() % unsigned(count)) : -1;
        m_shown = m_row;
        if (count > 0)
            m_bench.editor->setCurrent(unsigned(m_row));
        if (what < 4)
            bringIn(what);
        else if (what < 6)
            step(what == 4);
        else if (what == 6)
            saveAndLoad();
        else if (count > 0 && what < 11)
            look(what);
        else if (count > 0)
            change(what);
        else
            return act();
        [&] { QCOMPARE(m_bench.host.dialogs().finish(), QString()); }();
        [&] { QCOMPARE(entries(m_file), m_model); }();
        [&] { checkShown(); }();
        if (m_model != m_states[m_at]) {
            m_states.resize(++m_at);
            m_states.append(m_model);
        }
        return what;
    }

    void goBackAndForth()
    {
        while (m_at > 0) {
            m_bench.editor->undo();
            QCOMPARE(entries(m_file), m_states[--m_at]);
        }
        while (m_at < m_states.size() - 1) {
            m_bench.editor->redo();
            QCOMPARE(entries(m_file), m_states[++m_at]);
        }
    }

private:
    static QString entry(const QString &name, const SoundSample &sound)
    {
        return name + ": " + described(sound);
    }
    QString nameAt(int row) const { return m_model[row].section(": ", 0, 0); }
    SoundSample someSound()
    {
        return noise(1 + int(m_random() % 2), 8 * (1 + int(m_random() % 2)),
                     m_random() % 2 ? 8000 : 11025, 1 + int(m_random() % 30), unsigned(m_random()));
    }

    /// All fields, and the wave, say what the model says, and say it again in a file that is shown
    /// anew.
    void checkShown()
    {
        const int count = m_model.size();
        const int shown = m_bench.current();
        QVERIFY(m_shown < 0 || shown == qMin(m_shown, count - 1));
        QCOMPARE(m_bench.label("snd_sel_lb"), QString("%1 / %2").arg(shown + 1).arg(count));
        QCOMPARE(told(*m_bench.host.control("snd_sel"), "enabled minimum maximum value"),
                 QString("%1 0 %2 %3")
                     .arg(count > 0 ? "true" : "false")
                     .arg(qMax(0, count - 1))
                     .arg(qMax(0, shown)));
        Sound *sound = m_file.itemAt(unsigned(shown));
        QCOMPARE(m_bench.editor->currentSound(), sound);
        QCOMPARE(m_bench.editor->told, sound);
        QCOMPARE(m_bench.editor->toldCount, count);
        const SoundSample sample = sound ? sound->sample() : SoundSample();
        QVERIFY(m_bench.label("snd_info_lb")
                    .contains(sound ? QString("%1 Hz\nBits per sample: %2 b")
                                          .arg(sample.sampleRate)
                                          .arg(sample.bits)
                                    : "Sample rate: ---"));
        const auto *view = qobject_cast<AudioSampleWidget *>(m_bench.workspace->widget());
        AudioSampleWidget plain(m_bench.host);
        plain.resize(view->size());
        plain.setSound(sample);
        QCOMPARE(view->levels(), plain.levels());
        QCOMPARE(m_bench.organizer->selectedRows(), sound ? QVector<int>{shown} : QVector<int>());
        const QString fields = shownFields(m_bench.host, "snd_");
        if (m_random() % 3 > 0)
            return;
        m_bench.editor->setCurrentFile(nullptr);
        QCOMPARE(m_bench.editor->told, nullptr);
        m_bench.editor->setCurrentFile(&m_file);
        m_bench.editor->setCurrent(unsigned(qMax(0, shown)));
        QCOMPARE(shownFields(m_bench.host, "snd_"), fields);
        QCOMPARE(m_bench.organizer->selectedRows(), sound ? QVector<int>{shown} : QVector<int>());
    }

    /// From files, from the other project, and by a copy.
    void bringIn(int what)
    {
        const SoundSample sample = someSound();
        const QString name = QString("new%1").arg(m_random() % 5);
        const QString path = m_bench.path(name + ".wav");
        writeFile(path, wav(sample));
        writeFile(m_bench.path("two.wav"), wav(sample));
        if (what == 0) {
            m_bench.host.dialogs().expectFiles({path, m_bench.path("two.wav")});
            m_bench.trigger("snd_add");
            m_model.insert(m_row + 1, entry("two", sample));
            m_model.insert(m_row + 1, entry(name, sample));
            m_shown = m_row + 2;
        } else if (what == 1) {
            m_heroes.expectImport({"0 " + name, "1 other"}, 3);
            m_bench.host.dialogs().expectBox(QMessageBox::Ok);
            m_bench.trigger("snd_import_proj");
            for (const unsigned int each : {1, 0})
                m_model.insert(m_row + 1, entry(each ? "other" : name,
                                                m_heroes.source->itemAt(each)->sample()));
            m_shown = m_row + 1;
        } else if (m_row >= 0 && what == 2) {
            m_bench.host.dialogs().expectFiles({path});
            m_bench.trigger("snd_open_sample");
            m_model[m_row] = entry(nameAt(m_row), sample);
        } else if (m_row >= 0) {
            m_bench.trigger("snd_duplicate");
            m_model.insert(m_row + 1, m_model[m_row]);
        }
    }

    void step(bool isBack)
    {
        if (isBack ? m_at == 0 : m_at == m_states.size() - 1)
            return;
        isBack ? m_bench.editor->undo() : m_bench.editor->redo();
        m_at += isBack ? -1 : 1;
        m_model = m_states[m_at];
        m_shown = -1; // where the step was
    }

    void saveAndLoad()
    {
        QVERIFY(m_file.toFile(FileSystemArchive::instance(), m_file.fileName(), false));
        const std::unique_ptr<EmberSounds, Release> again(new EmberSounds(StreamCache::Disk));
        QVERIFY(again->fromFile(FileSystemArchive::instance(), m_file.fileName(), false));
        QCOMPARE(entries(*again), m_model);
        QVERIFY(!m_bench.editor->isModified());
    }

    /// What leaves the sounds as they are.
    void look(int what)
    {
        const int last = m_model.size() - 1;
        if (what < 9) {
            const int way = int(m_random() % 5);
            m_shown = way > 1 ? int(m_random() % unsigned(last + 1))
                              : qBound(0, m_row + (way ? 1 : -1), last);
            if (way < 2)
                m_bench.trigger(way ? "snd_next" : "snd_prev");
            else if (way == 2)
                m_bench.editor->navigateTo(unsigned(m_shown), 0);
            else if (way == 3)
                Q_EMIT m_bench.organizer->itemClicked(m_shown);
            else
                qobject_cast<QSlider *>(m_bench.host.control("snd_sel"))->setValue(m_shown);
        } else if (what == 9) {
            const QString path = m_bench.path("saved.wav");
            const SoundSample sample = m_bench.editor->currentSound()->sample();
            m_bench.host.dialogs().expectFiles({path});
            QFile::remove(path);
            m_bench.trigger("snd_save_sample");
            QCOMPARE(readFile(path), wav(sample));
        } else {
            const QString name = nameAt(int(m_random() % unsigned(last + 1)));
            QVERIFY(m_bench.editor->find(&m_file, name, 8 | Editor::CaseSensitive));
            QCOMPARE(m_bench.editor->currentSound()->property("Identifier").toString(), name);
            m_shown = -1;
        }
    }

    void change(int what)
    {
        if (what == 11) {
            m_bench.trigger("snd_delete");
            m_model.removeAt(m_row);
        } else if (what == 12) {
            expectResample(m_bench, {0, m_row}, {"11025 Hz", "16 bits", "Stereo"});
            for (const int each : QSet<int>{0, m_row}) {
                SoundSample now = m_file.itemAt(unsigned(each))->sample();
                Kiln::resample(now, formatOf(2, 16, 11025), now);
                m_model[each] = entry(nameAt(each), now);
            }
            m_bench.trigger("snd_resample");
        } else if (what == 13) {
            const QString name = QString("name%1").arg(m_random() % 1000);
            const QString one = nameAt(m_row);
            m_bench.editor->replace(one, name, Editor::CaseSensitive, true);
            for (QString &each : m_model) {
                if (each.section(": ", 0, 0) == one)
                    each = name + ": " + each.section(": ", 1);
            }
        } else if (what == 14) {
            m_bench.editor->replace(".*", "one", Editor::RegularExpression, false);
            m_model[m_row] = "one: " + m_model[m_row].section(": ", 1);
            m_shown = m_row + 1; // the next one that matches
        } else {
            m_bench.selectRows({m_row});
            m_bench.trigger("org_top");
            m_model.move(m_row, 0);
            m_shown = 0;
        }
    }

    Heroes m_heroes;
    Bench &m_bench = m_heroes.bench;
    EmberSounds &m_file = *m_heroes.target;
    std::mt19937 m_random;
    QVector<QStringList> m_states;
    QStringList m_model;
    int m_at = 0; ///< in the states
    int m_row = -1;
    int m_shown = -1; ///< the row that is to be shown; -1 for any
};

} // namespace SoundTest
