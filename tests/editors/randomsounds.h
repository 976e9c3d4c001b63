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
        } else if (what == 1) {
            m_heroes.expectImport({"0 " + name, "1 other"}, 3);
            m_bench.host.dialogs().expectBox(QMessageBox::Ok);
            m_bench.trigger("snd_import_proj");
            for (const unsigned int each : {1, 0})
                m_model.insert(m_row + 1, entry(each ? "other" : name,
                                                m_heroes.source->itemAt(each)->sample()));
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
        if (what == 7) {
            const bool isNext = m_random() % 2;
            m_bench.trigger(isNext ? "snd_next" : "snd_prev");
            QCOMPARE(m_bench.current(), qBound(0, m_row + (isNext ? 1 : -1), last));
        } else if (what == 8) {
            const int row = int(m_random() % unsigned(last + 1));
            qobject_cast<QSlider *>(m_bench.host.control("snd_sel"))->setValue(row);
            QCOMPARE(m_bench.editor->currentSound(), m_file.itemAt(unsigned(row)));
        } else if (what == 9) {
            const QString path = m_bench.path("saved.wav");
            const SoundSample sample = m_bench.editor->currentSound()->sample();
            m_bench.selectRows({});
            m_bench.host.dialogs().expectFiles({path});
            QFile::remove(path);
            m_bench.trigger("snd_save_sample");
            QCOMPARE(readFile(path), wav(sample));
        } else {
            const QString name = nameAt(int(m_random() % unsigned(last + 1)));
            QVERIFY(m_bench.editor->find(&m_file, name, 8 | Editor::CaseSensitive));
            QCOMPARE(m_bench.editor->currentSound()->property("Identifier").toString(), name);
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
        } else {
            m_bench.selectRows({m_row});
            m_bench.trigger("org_top");
            m_model.move(m_row, 0);
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
};

} // namespace SoundTest
