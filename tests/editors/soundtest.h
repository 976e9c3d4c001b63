#pragma once

#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <ember/embersounds.h>
#include <hostkit/soundview.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/forms/resampledlg.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/soundworkspace.h>
#include <tests/support/files.h>
#include <tests/support/release.h>
#include <tests/support/told.h>

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

/// The editor of the kit, which takes names without a question unless it is to ask.
class View : public HostKit::SoundView
{
public:
    using SoundView::contentsChanged;
    using SoundView::SoundView;
    void identifiers(const QStringList &paths, QList<QVariant> &out) override
    {
        if (asks)
            SoundView::identifiers(paths, out);
        for (const QString &path : asks ? QStringList() : paths)
            out.append(QFileInfo(path).completeBaseName());
    }

    void activate() override
    {
        SoundView::activate();
        if (onActivate)
            onActivate();
    }
    void soundChanged(Sound *sound) override { told = sound; }
    void soundCountChanged() override { toldCount = sounds() ? int(sounds()->itemCount()) : 0; }

    bool asks = false;
    std::function<void()> onActivate;
    Sound *told = nullptr;
    int toldCount = 0;
};

/// An editor in a window, with an organizer, on a file of its own, and the hands of its user.
struct Bench {
    Bench()
    {
        host.options = {{"confirm_delete", false}, {"show_organizer", true}};
        host.extraEditors[0] = organizer = new OrganizerEditor;
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
        organizer->release();
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

    TestHost host;
    OrganizerEditor *organizer = nullptr;
    SoundWorkspace *workspace = nullptr;
    std::unique_ptr<View> editor;
    std::unique_ptr<EmberSounds, Release> file;
    QTemporaryDir directory;
};

/// Where the Tab key goes in a dialog, by names or texts, until it begins again.
inline QStringList tabOrder(QDialog &dialog)
{
    dialog.show();
    QStringList order;
    for (QWidget *at = dialog.nextInFocusChain(); at != &dialog; at = at->nextInFocusChain()) {
        const auto *button = qobject_cast<QAbstractButton *>(at);
        if ((at->focusPolicy() & Qt::TabFocus) && at->isVisibleTo(&dialog))
            order << (!button || !at->objectName().isEmpty() ? at->objectName()
                                                             : button->text().remove('&'));
    }
    return order.mid(order.indexOf("Cancel") + 1) + order.mid(0, order.indexOf("Cancel") + 1);
}

/// Accepts ResampleDlg on these rows and this format.
inline void expectResample(Bench &bench, const QList<int> &rows, const QStringList &format)
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

/// Saves the sounds and loads them again, with faults in the stored bytes of one.
inline void damage(EmberSounds &sounds, unsigned int row, const QString &path)
{
    Archive &archive = FileSystemArchive::instance();
    const QByteArray stored = sounds.itemAt(row)->data()->toData(true);
    QVERIFY(sounds.toFile(archive, path, false));
    QByteArray bytes = readFile(path);
    const int at = bytes.indexOf(stored) + stored.size() / 2;
    bytes.replace(at, 4, "~~~~");
    writeFile(path, bytes);
    QVERIFY(sounds.fromFile(archive, path, false));
    QVERIFY(sounds.itemAt(row)->sample().data.isEmpty());
}

/// Two heroes of the sample project, each with its sounds: of wren, the third one has no data, and
/// the fourth is damaged.
struct Heroes {
    Heroes()
    {
        bench.host.currentEngine = &EmberEngine::instance();
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", bench.path("hero/"));
        parent = EmberParentProject::open(bench.path("hero/"), FileSystemArchive::instance());
        QVERIFY(parent);
        bench.host.projects = parent->openedProjects();
        for (Project *project : qAsConst(bench.host.projects)) {
            auto *sounds = dynamic_cast<EmberSounds *>(project->file(Project::FileID::Sounds));
            const QString name = QFileInfo(project->fileName()).baseName();
            (name == "wren" ? source : name == "moss" ? target : other) = sounds;
        }
        QVERIFY(source && target);
        source->insert(2, "nothing", SoundSample());
        damage(*source, 3, source->fileName());
        bench.host.activeProject = target->project();
        bench.editor->setCurrentFile(target);
    }
    ~Heroes()
    {
        bench.editor->setCurrentFile(nullptr);
        parent->close();
    }
    /// Adds rows of wren's, some with another name behind a blank, by a policy.
    void expectImport(const QStringList &items, int policy, const std::function<void()> &act = {})
    {
        bench.host.dialogs().expectDialog([this, items, policy, act](QDialog *dialog) {
            auto *projects = dialog->findChild<QComboBox *>("projects");
            QVERIFY(projects->findText(target->project()->displayName()) < 0);
            projects->setCurrentIndex(projects->findText(source->project()->displayName()));
            auto *list = dialog->findChild<QListView *>("source");
            QAbstractItemModel *chosen = dialog->findChild<QListView *>("destination")->model();
            for (const QString &item : items) {
                list->selectionModel()->select(list->model()->index(item.left(1).toInt(), 0),
                                               QItemSelectionModel::ClearAndSelect);
                dialog->findChild<QPushButton *>("add")->click();
                if (item.size() > 1)
                    chosen->setData(chosen->index(chosen->rowCount() - 1, 0), item.mid(2),
                                    Qt::EditRole);
            }
            dialog->findChild<QRadioButton *>(QString("policy%1").arg(policy))->click();
            if (act)
                act();
            else
                dialog->accept();
        });
    }

    Bench bench;
    EmberParentProject *parent = nullptr;
    EmberSounds *source = nullptr;
    EmberSounds *target = nullptr;
    EmberSounds *other = nullptr;
};

inline SampleInfo formatOf(int channels, int bits, unsigned int rate)
{
    return noise(channels, bits, rate, 0, 0);
}

} // namespace SoundTest
