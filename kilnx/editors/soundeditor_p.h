#pragma once

#include <kilnx/editors/fieldguard.h>
#include <kilnx/editors/importplan_p.h>
#include <kilnx/editors/soundeditor.h>
#include <kilnx/sound/sounds.h>

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>

namespace Kiln
{

class Interface;
class OrganizerEditor;
class SoundWorkspace;

/// The state of a SoundEditor, the slots of its actions and the signals that rule them.
///
/// What reads and writes WAV files is in soundeditor_files.cpp, and what works on many sounds,
/// resampling and the import from other projects, in soundeditor_batch.cpp.
class SoundEditorPrivate : public QObject
{
    Q_OBJECT

public:
    SoundEditorPrivate(SoundEditor *editor, Interface *interface, SoundWorkspace &workspace);

    /// Whether, behind a box or other events, the editor still has the same file.
    class Still
    {
    public:
        explicit Still(SoundEditorPrivate *d)
            : m_d(d)
            , m_file(d->sounds)
        {
        }
        bool isSo() const { return m_d && m_file && m_d->sounds == m_file; }

    private:
        QPointer<SoundEditorPrivate> m_d;
        QPointer<Sounds> m_file;
    };

    QWidget *window() const;
    /// Null without a file, and for an empty one.
    Sound *sound() const { return sounds && row.isValid() ? current : nullptr; }
    int count() const { return sounds ? int(sounds->itemCount()) : 0; }
    /// Where new sounds come: behind the current one.
    unsigned int insertRow() const { return row.isValid() ? unsigned(row.row()) + 1 : 0; }
    void declare();
    void setFile(Sounds *file);
    void select(int index);
    void setCurrent(unsigned int index);
    void showCurrent();
    void rowsChanged();
    void contentsModified();
    bool isShown() const;
    void tellPosition();
    void tellEnabled();
    void tellPlaying();
    void listen(bool starts, bool loop);
    void showPanel(bool shown);
    OrganizerEditor *organizer() const;
    QVariant fileOption(const char *key) const;

    // soundeditor_files.cpp
    QString startPath() const;
    QString openFilter() const;
    void keepPath(const QString &fileName);
    void warnOfSound(const QString &fileName);
    void insertFiles(const QStringList &paths, const QList<QVariant> &names);
    QVector<int> chosenRows() const;
    void saveSounds(const QVector<int> &chosen, const QString &path);

    // soundeditor_batch.cpp
    void convert(const QList<int> &rows, const SampleInfo &target);
    int importSounds(Sounds &from, const ImportOptions &options);
    void takeIn(const ImportPlan::Step &step, const SoundSample &sample, unsigned int *at);

    SoundEditor *const editor;
    Interface *const interface;
    SoundWorkspace &workspace;
    FieldGuard fields;
    QPointer<QAction> editorAction;
    QPointer<Sounds> sounds;
    Sound *current = nullptr;    ///< valid while `row` is
    QPersistentModelIndex row;   ///< of `current`
    int position = 0;            ///< where `row` was last
    SampleInfo info;             ///< of the sound as it is shown
    const void *bytes = nullptr; ///< the handle on it
    unsigned long long crc = 0;  ///< its checksum then
    bool working = false;        ///< between the start and the end of a longer command

public Q_SLOTS:
    void add();
    void del();
    void duplicate();
    void openSnd();
    void saveSndAs();
    void resample();
    void play(bool checked);
    void playLoop(bool checked);
    void stop(bool checked);
    void projImport();
    void previous();
    void next();
    void selPosChanged(int index);

Q_SIGNALS:
    /// There is a file.
    void noFile(bool there);
    /// There is a current sound.
    void enabled(bool there);
    void setSelPos(int index);
    void setPosText(const QString &text);
    void setInfoText(const QString &text);
    void playing(bool on);
    void looping(bool on);
    void stopped(bool on);
};

} // namespace Kiln
