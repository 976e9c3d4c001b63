#pragma once

#include <ember/embersounds.h>
#include <hostkit/soundview.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/soundworkspace.h>
#include <tests/support/files.h>
#include <tests/support/release.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <random>

/// What the tests of the sound editor share.
namespace SoundTest
{

using namespace Kiln;

inline SoundSample noise(int channels, int bits, unsigned int rate, int frames, unsigned int seed)
{
    SoundSample sample;
    sample.channels = static_cast<unsigned short>(channels);
    sample.bits = static_cast<unsigned short>(bits);
    sample.sampleRate = rate;
    sample.samples = static_cast<unsigned int>(frames);
    std::mt19937 random(seed);
    sample.data.resize(frames * sample.frameSize());
    for (char &byte : sample.data)
        byte = static_cast<char>(random());
    return sample;
}

/// All of a sound as text.
inline QString described(const SoundSample &sample)
{
    return QString::asprintf("%dx%d %u %u ", sample.channels, sample.bits, sample.sampleRate,
                             sample.samples) +
           sample.data.toHex();
}

/// All that can be seen of a file.
inline QStringList entries(const EmberSounds &sounds)
{
    QStringList list;
    for (unsigned int i = 0; i < sounds.itemCount(); ++i)
        list << sounds.itemAt(i)->identifier() + ": " + described(sounds.itemAt(i)->sample());
    return list;
}

/// The bytes of a WAV file, written without the library.
inline QByteArray wav(const SoundSample &sample)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    const quint16 frame = quint16(sample.bits * sample.channels / 8);
    stream.writeRawData("RIFF", 4);
    stream << quint32(sample.data.size() + 36);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << quint16(1) << sample.channels << sample.sampleRate
           << quint32(sample.sampleRate * frame) << frame << sample.bits;
    stream.writeRawData("data", 4);
    stream << quint32(sample.data.size());
    return bytes + sample.data;
}

struct Host : TestHost {
    unsigned int projectCount() const override { return unsigned(projects.size()); }
    Project *project(unsigned int index) const override { return projects.value(int(index)); }
    ExtraEditor *extraEditor(int index) const override { return index == 0 ? organizer : nullptr; }

    QList<Project *> projects;
    OrganizerEditor *organizer = nullptr;
};

/// The editor of the kit, which takes names without a question unless it is to ask.
class View : public HostKit::SoundView
{
public:
    using SoundView::SoundView;
    void identifiers(const QStringList &paths, QList<QVariant> &out) override
    {
        if (asks)
            SoundView::identifiers(paths, out);
        for (const QString &path : asks ? QStringList() : paths)
            out.append(QFileInfo(path).completeBaseName());
    }

    bool asks = false;
};

/// An editor in a window, with an organizer, on a file of its own, and the hands of its user.
struct Bench {
    Bench()
    {
        host.options = {{"confirm_delete", false}, {"show_organizer", true}};
        host.organizer = new OrganizerEditor;
        workspace = new SoundWorkspace(host);
        editor = std::make_unique<View>(*workspace);
        auto *window = qobject_cast<QMainWindow *>(host.mainWindow());
        window->setCentralWidget(workspace->widget());
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        file.reset(new EmberSounds(StreamCache::Memory));
        editor->setCurrentFile(file.get());
        host.switchTo(editor.get());
    }
    ~Bench()
    {
        editor->setCurrentFile(nullptr);
        editor.reset();
        file.reset();
        host.organizer->release();
        workspace->release();
    }
    void insert(const QString &name, const SoundSample &sample)
    {
        file->insert(file->itemCount(), name, sample);
    }
    void trigger(const char *key) { host.action(key)->trigger(); }
    QString label(const char *key) const
    {
        return qobject_cast<QLabel *>(host.control(key))->text();
    }
    QString path(const QString &name) const { return directory.filePath(name); }
    QStringList all() const { return entries(*file); }
    QStringList names() const
    {
        QStringList list;
        for (unsigned int i = 0; i < file->itemCount(); ++i)
            list << file->itemAt(i)->identifier();
        return list;
    }
    int current() const { return label("snd_sel_lb").section(" / ", 0, 0).toInt() - 1; }
    void selectRows(const QList<int> &rows)
    {
        auto *list = qobject_cast<QListView *>(host.control("org_list"));
        list->clearSelection();
        for (const int row : rows)
            list->selectionModel()->select(list->model()->index(row, 0),
                                           QItemSelectionModel::Select);
    }
    void closeFile()
    {
        editor->setCurrentFile(nullptr);
        file.reset();
    }

    Host host;
    SoundWorkspace *workspace = nullptr;
    std::unique_ptr<View> editor;
    std::unique_ptr<EmberSounds, Release> file;
    QTemporaryDir directory;
};

using Act = std::function<void(Bench &)>;

} // namespace SoundTest

Q_DECLARE_METATYPE(SoundTest::Act)
