#include <ember/emberpeal.h>
#include <ember/embersounds.h>
#include <kilnx/cache/crc64.h>
#include <kilnx/code/messages.h>
#include <tests/support/emberlists.h>
#include <tests/support/modeltester.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <random>

using namespace Kiln;

namespace
{

using SoundsPointer = std::unique_ptr<EmberSounds, Release>;

SoundSample makeSample(int channels, int bits, unsigned int frames, unsigned int seed)
{
    SoundSample sample;
    sample.channels = static_cast<unsigned short>(channels);
    sample.bits = static_cast<unsigned short>(bits);
    sample.sampleRate = 22050;
    sample.samples = frames;
    std::mt19937 random(seed);
    sample.data.resize(static_cast<int>(frames) * sample.frameSize());
    for (char &byte : sample.data)
        byte = static_cast<char>(random() % 9);
    return sample;
}

bool sameSample(const SoundSample &a, const SoundSample &b)
{
    return a.data == b.data && a.channels == b.channels && a.bits == b.bits &&
           a.sampleRate == b.sampleRate && a.samples == b.samples;
}

// All that can be seen of a list.
QStringList described(const EmberSounds &sounds)
{
    QStringList list;
    for (unsigned int row = 0; row < sounds.itemCount(); ++row) {
        const SoundSample sample = sounds.itemAt(row)->sample();
        list.append(sounds.itemAt(row)->identifier() +
                    QString::asprintf(" %dx%d %u %u ", sample.channels, sample.bits,
                                      sample.sampleRate, sample.samples) +
                    sample.data.toHex());
    }
    return list;
}

} // namespace

class TestEmberSounds : public EmberListTest
{
    Q_OBJECT

private slots:
    // Another program wrote that file, checksums included.
    void readsTheSoundsOfTheSampleProject()
    {
        const SoundsPointer sounds(new EmberSounds);
        const QString name = QString(KILN_SOURCE_DIR "/examples/hero/heroes/wren/wren.peal");
        QVERIFY(sounds->fromFile(archive, name, false));
        QCOMPARE(sounds->messages()->count(Message::Error), 0u);
        QStringList names;
        for (unsigned int row = 0; row < sounds->itemCount(); ++row) {
            EmberSound *sound = sounds->itemAt(row);
            names.append(sound->property(QString("Identifier")).toString());
            const SoundSample sample = sound->sample();
            QVERIFY(sample.samples > 2000);
            QCOMPARE(sample.data.size(), static_cast<int>(sample.samples) * sample.frameSize());
            QCOMPARE(crc64(sample.data.constData(), static_cast<unsigned int>(sample.data.size())),
                     sound->data()->crc());
        }
        const QStringList expected{"wing", "landing", "strike", "hurt", "call", "lamp"};
        QCOMPARE(names, expected);
        QCOMPARE(sounds->itemAt(5)->sampleInfo().channels, static_cast<unsigned short>(2));
        QCOMPARE(sounds->data(sounds->index(1)).toString(), QString("landing"));
    }

    void keepsEveryFormat()
    {
        const SoundsPointer sounds(new EmberSounds);
        QList<SoundSample> samples;
        for (const int bits : {8, 12, 16, 24, 32, 64}) {
            for (const int channels : {1, 2, 6}) {
                samples.append(makeSample(channels, bits, 500, static_cast<unsigned int>(bits)));
                sounds->insert(1000, QString("%1 x %2").arg(channels).arg(bits), samples.last());
            }
        }
        samples.append(SoundSample());
        sounds->insert(1000, QString(), samples.last());
        // The number of frames is not known, and half a frame stands at the end.
        samples.append(makeSample(2, 16, 10, 1));
        SoundSample unknown = samples.last();
        unknown.samples = 0;
        unknown.data += "ab";
        sounds->insert(1000, QString("unknown length"), unknown);
        samples.append(makeSample(1, 8, 1, 1));
        sounds->insert(1000, QString(70000, QChar(0x4e2d)), samples.last());

        const QString name = file("all.peal");
        QVERIFY(sounds->toFile(archive, name, false));
        const SoundsPointer again(new EmberSounds);
        QVERIFY(again->fromFile(archive, name, false));
        QCOMPARE(again->itemCount(), static_cast<unsigned int>(samples.size()));
        for (int row = 0; row < samples.size(); ++row) {
            const EmberSound *sound = again->itemAt(static_cast<unsigned int>(row));
            QVERIFY2(sameSample(sound->sample(), samples[row]), qPrintable(sound->identifier()));
            if (row < samples.size() - 1)
                QCOMPARE(sound->identifier(),
                         sounds->itemAt(static_cast<unsigned int>(row))->identifier());
        }
        QCOMPARE(again->itemAt(again->itemCount()), nullptr);
    }

    void undoStepsBackAndForth_data()
    {
        columns<int>("cacheType");
        addRow("memory", 1);
        addRow("disk", 2);
    }

    void undoStepsBackAndForth()
    {
        QFETCH(int, cacheType);
        m_host->options.insert(QString("cache_type"), cacheType);
        for (unsigned int seed = 1; seed <= 20; ++seed) {
            std::mt19937 random(seed);
            const SoundsPointer sounds(new EmberSounds);
            QCOMPARE(int(sounds->cache()->type()), cacheType);
            const ModelTester tester(sounds.get());
            QList<QStringList> states{described(*sounds)};
            int now = 0;
            for (int step = 0; step < 120; ++step) {
                const unsigned int row = random() % (sounds->itemCount() + 1);
                EmberSound *sound = sounds->itemAt(row);
                const QString name = QString("%1 %2").arg(random() % 26).arg(step);
                const QStringList before = described(*sounds);
                const unsigned int kind = random() % 8;
                if (kind < 2)
                    sounds->insert(row, name, makeSample(1, 8, random() % 30, random()));
                else if (kind == 2)
                    sounds->remove(row);
                else if (kind == 3)
                    sounds->move(row, random() % (sounds->itemCount() + 1));
                else if (kind == 4 && sound)
                    sound->setProperty(QString("Identifier"), name);
                else if (kind == 5 && sound)
                    sound->setSample(makeSample(2, 16, random() % 30, random()));
                else if (kind == 6)
                    sounds->autoOrganize();
                else if (kind == 7) {
                    for (unsigned int back = random() % 4; back > 0 && now > 0; --back) {
                        sounds->undo();
                        QCOMPARE(described(*sounds), states[--now]);
                    }
                    for (unsigned int forth = random() % 3; forth > 0 && now < states.size() - 1;
                         --forth) {
                        sounds->redo();
                        QCOMPARE(described(*sounds), states[++now]);
                    }
                    continue;
                }
                // Other samples can look alike; every other change shows.
                if (kind == 5 ? !sound : described(*sounds) == before)
                    continue;
                states = states.mid(0, ++now);
                states.append(described(*sounds));
            }
            for (; now > 0; --now) {
                QCOMPARE(described(*sounds), states[now]);
                sounds->undo();
            }
            QVERIFY(sounds->isEmpty());
            for (const QStringList &state : qAsConst(states)) {
                QCOMPARE(described(*sounds), state);
                sounds->redo();
            }
        }
    }

    void bracketsAreOneStep()
    {
        const SoundsPointer sounds(new EmberSounds);
        sounds->beginChange();
        sounds->insert(0, QString("a"), makeSample(1, 8, 5, 1));
        sounds->beginChange();
        sounds->insert(1, QString("b"), makeSample(1, 8, 5, 2));
        sounds->endChange();
        sounds->itemAt(0)->setProperty(QString("Identifier"), QString("c"));
        sounds->endChange();
        const QStringList full = described(*sounds);
        sounds->undo();
        QVERIFY(sounds->isEmpty());
        QVERIFY(!sounds->isModified());
        sounds->redo();
        QCOMPARE(described(*sounds), full);
        sounds->beginChange();
        sounds->remove(0);
        sounds->Sounds::cancelChange(); // as a list of another engine has it
        QCOMPARE(described(*sounds), full);

        // What goes on within a bracket after all was replaced is one step, too.
        sounds->beginChange();
        sounds->insert(0, QString("a"), makeSample(1, 8, 5, 1));
        sounds->reset();
        sounds->insert(0, QString("b"), makeSample(1, 8, 5, 1));
        sounds->insert(1, QString("c"), makeSample(1, 8, 5, 2));
        sounds->endChange();
        sounds->undo();
        QVERIFY(sounds->isEmpty());
        sounds->redo();
        QCOMPARE(sounds->itemCount(), 2u);

        // An empty bracket is no step.
        sounds->beginChange();
        sounds->endChange();
        sounds->endChange();
        sounds->undo();
        QVERIFY(sounds->isEmpty());
    }

    void modifiedFollowsSaving()
    {
        const SoundsPointer sounds(new EmberSounds);
        QSignalSpy changed(sounds.get(), &EmberSounds::changed);
        QVERIFY(!sounds->isModified());
        QVERIFY(sounds->canSave());
        sounds->insert(0, QString("a"), makeSample(1, 8, 5, 1));
        QCOMPARE(changed.takeFirst().first().toBool(), true);

        const QString copy = file("copy.peal");
        QVERIFY(sounds->toFile(archive, copy, true));
        QVERIFY(sounds->isModified());
        QVERIFY(sounds->fileName().isEmpty());
        const QString own = file("own.peal");
        QVERIFY(sounds->toFile(archive, own, false));
        QCOMPARE(sounds->fileName(), own);
        QVERIFY(!sounds->isModified());
        QCOMPARE(changed.takeFirst().first().toBool(), false);
        sounds->undo();
        watchesItsFile(*sounds);
        QCOMPARE(sounds->itemCount(), 1u);

        QVERIFY(sounds->fromFile(archive, copy, true));
        QCOMPARE(sounds->fileName(), own);
        QVERIFY(sounds->isModified());
        sounds->reset();
        QVERIFY(sounds->isEmpty() && !sounds->isModified() && sounds->fileName().isEmpty());
    }

    void findsAndOrders()
    {
        const SoundsPointer sounds(new EmberSounds);
        for (const char *name : {"beat", "Anvil", "beat", "anvil", "Call"})
            sounds->insert(99, QString::fromLatin1(name), makeSample(1, 8, 5, 1));
        QCOMPARE(sounds->find(0, QString("beat")), 0);
        QCOMPARE(sounds->find(1, QString("beat")), 2);
        QCOMPARE(sounds->find(3, QString("beat")), -1);
        QCOMPARE(sounds->find(-5, QString("Anvil")), 1);
        QCOMPARE(sounds->find(99, QString("Anvil")), -1);

        const QPersistentModelIndex call(sounds->index(4));
        sounds->autoOrganize();
        QStringList names;
        for (unsigned int row = 0; row < sounds->itemCount(); ++row)
            names.append(sounds->itemAt(row)->identifier());
        const QStringList expected{"Anvil", "anvil", "beat", "beat", "Call"};
        QCOMPARE(names, expected);
        QCOMPARE(call.row(), 4);

        QList<int> rows;
        connect(sounds.get(), &EmberSounds::dataChanged, this,
                [&rows](const QModelIndex &row) { rows.append(row.row()); });
        const auto found = sounds->search(QRegularExpression(QString("nv|Ca")));
        sounds->replace(found, QString("tone"));
        QCOMPARE(sounds->find(2, QString("tone")), 4);
        sounds->undo(); // all at once
        QCOMPARE(sounds->find(0, QString("tone")), -1);
        QCOMPARE(rows, QList<int>({0, 1, 4, 4, 1, 0}));
        sounds->remove(4);
        sounds->remove(3);
        sounds->itemAt(0)->setProperty(QString("Identifier"), QString("first"));
        QCOMPARE(rows.last(), 0);
    }

    void cutOffAtEveryLength()
    {
        const QByteArray good = goodFile();
        const SoundsPointer whole(new EmberSounds);
        QVERIFY(load(*whole, good));
        QVERIFY(whole->toFile(archive, file("again.peal"), false));
        QVERIFY(readFile(file("again.peal")) == good);
        for (int length = 0; length < good.size(); ++length) {
            const SoundsPointer sounds(new EmberSounds);
            sounds->insert(0, QString("kept"), makeSample(1, 8, 5, 1));
            // The last four bytes could by chance be a valid offset; they are not in this file.
            QVERIFY2(!load(*sounds, good.left(length)), qPrintable(QString::number(length)));
            QCOMPARE(m_told.contains("is damaged:"), length >= 4);
            QCOMPARE(sounds->itemCount(), 1u);
        }
    }

    void randomDamage()
    {
        const QByteArray good = goodFile();
        std::mt19937 random(7);
        int loaded = 0;
        for (int round = 0; round < 400; ++round) {
            const SoundsPointer sounds(new EmberSounds);
            if (!load(*sounds, damaged(good, good.size() * 2 / 3, random)))
                continue;
            ++loaded;
            for (unsigned int row = 0; row < sounds->itemCount(); ++row)
                QVERIFY(sounds->itemAt(row)->sample().data.size() < 1 << 20);
            QVERIFY(sounds->toFile(archive, file("out.peal"), true));
        }
        QVERIFY(loaded > 50);
    }

    void soundsOutsideOfTheFile()
    {
        EmberPeal::Entry whole;
        whole.offset = EmberPack::headSize;
        whole.size = 6;
        whole.info = makeSample(1, 8, 6, 1);
        whole.name = QString("whole");
        EmberPeal::Entry beyond = whole;
        beyond.offset = 0xFFFFFFF0;
        beyond.size = 0xFFFFFFFF;
        EmberPeal::Entry overlapping = whole;
        EmberPeal::Entry inHead = whole;
        inHead.offset = 0;
        const QByteArray bytes =
            EmberPack::head(EmberPeal::magic, 4) + "sounds" +
            EmberPack::index<Kiln::SampleInfo>({whole, beyond, overlapping, inHead}, 18);
        const SoundsPointer sounds(new EmberSounds);
        QVERIFY(load(*sounds, bytes));
        QCOMPARE(sounds->itemCount(), 4u);
        QCOMPARE(sounds->itemAt(0)->sample().data, QByteArray("sounds"));
        for (unsigned int row = 1; row < 4; ++row)
            QVERIFY(sounds->itemAt(row)->sample().data.isEmpty());
        QCOMPARE(sounds->messages()->count(Message::Error), 3u);
        QCOMPARE(sounds->messages()->at(2, Message::Error).line, 3);
    }

    void soundsThatCannotBeDecoded()
    {
        EmberPeal::Entry entry;
        entry.offset = EmberPack::headSize;
        entry.coder = EmberPeal::Differences;
        entry.info = makeSample(1, 16, 4, 1);
        QByteArray huge = qCompress(QByteArray("12345678"));
        huge.replace(0, 4, QByteArray::fromHex("7fffffff"));
        const QByteArray bodies[] = {"not compressed", "", qCompress(QByteArray("123")), huge};
        for (const QByteArray &body : bodies) {
            entry.size = static_cast<quint32>(body.size());
            const QByteArray index = EmberPack::index<Kiln::SampleInfo>(
                {entry}, static_cast<quint32>(EmberPack::headSize + body.size()));
            const SoundsPointer sounds(new EmberSounds);
            QVERIFY(load(*sounds, EmberPack::head(EmberPeal::magic, 1) + body + index));
            QVERIFY(sounds->itemAt(0)->sample().data.isEmpty());
            // What cannot be read is not lost on saving, and not by copying.
            QCOMPARE(sounds->itemAt(0)->data()->toData(true), body);
            const SoundsPointer others(new EmberSounds);
            StreamCacheData *copy = sounds->itemAt(0)->data()->copyTo(others->cache());
            QCOMPARE(copy->toData(true), body);
            copy->release();
        }
        entry.info.samples = 0xFFFFFFFF;
        entry.info.channels = 0xFFFF;
        QVERIFY(EmberPeal::decode(huge, entry.info).isEmpty());
    }

    void lossesNeverReachTheFile_data() { addLosses(); }

    void lossesNeverReachTheFile()
    {
        goodFile();
        checkLoss<EmberSounds>(file("good.peal"), [](EmberSounds &sounds) {
            sounds.itemAt(1)->setSample(makeSample(1, 8, 50, 3));
        });
    }

    void failuresAreTold()
    {
        const SoundsPointer sounds(new EmberSounds);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!sounds->fromFile(archive, file("missing.peal"), false));
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!sounds->fromFile(archive, QString(KILN_SOURCE_DIR "/LICENSE"), false));
        QVERIFY(!sounds->toFile(archive, m_directory->path(), false));
        QVERIFY(!FileSystemArchive::lastError().isEmpty()); // for the host to tell
        QCOMPARE(m_host->dialogs().finish(), QString());
        QCOMPARE(m_host->dialogs().seen().size(), 2);
        for (const DialogScript::Seen &seen : m_host->dialogs().seen())
            QCOMPARE(seen.icon, QMessageBox::Critical);
        QVERIFY(sounds->fileName().isEmpty());
    }

private:
    QByteArray goodFile()
    {
        const SoundsPointer sounds(new EmberSounds);
        for (unsigned int i = 0; i < 4; ++i)
            sounds->insert(i, QString("sound %1").arg(i), makeSample(1 + i % 2, 16, 20, i));
        sounds->insert(4, QString("plain"), makeSample(1, 12, 20, 9));
        return sounds->toFile(archive, file("good.peal"), false) ? readFile(file("good.peal"))
                                                                 : QByteArray();
    }
};

QTEST_MAIN(TestEmberSounds)

#include "tst_embersounds.moc"
