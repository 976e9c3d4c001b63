#include <kilnx/editors/soundeditor.h>

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/editors/itemsearch_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/soundeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>
#include <kilnx/sound/soundworkspace.h>

#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>

#include <cmath>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");
constexpr int editorText = 150;
constexpr int ticksPerSecond = 60;

struct EditorAction {
    const char *key;
    int textId;
    const char *slot;
    const char *enabler;
    const char *checker; ///< null for a command that is not checked
    bool hasKey;         ///< that counts in the view
    bool isButton;       ///< in the bar, too
};

const char thereIsAFile[] = "2noFile(bool)";
const char thereIsASound[] = "2enabled(bool)";

const EditorAction actions[] = {
    {"snd_add", 151, "1add()", thereIsAFile, nullptr, true, true},
    {"snd_delete", 152, "1del()", thereIsASound, nullptr, true, true},
    {"snd_duplicate", 156, "1duplicate()", thereIsASound, nullptr, false, true},
    {"snd_open_sample", 153, "1openSnd()", thereIsASound, nullptr, false, true},
    {"snd_save_sample", 154, "1saveSndAs()", thereIsASound, nullptr, false, true},
    {"snd_resample", 155, "1resample()", thereIsASound, nullptr, false, true},
    {"snd_play", 157, "1play(bool)", thereIsASound, "2playing(bool)", true, true},
    {"snd_play_loop", 158, "1playLoop(bool)", thereIsASound, "2looping(bool)", true, true},
    {"snd_stop", 159, "1stop(bool)", thereIsASound, "2stopped(bool)", true, true},
    {"snd_import_proj", 162, "1projImport()", thereIsAFile, nullptr, false, false},
    {"snd_prev", 163, "1previous()", thereIsASound, nullptr, true, true},
    {"snd_next", 164, "1next()", thereIsASound, nullptr, true, true},
};

WidgetControl connected(QObject *receiver, int kind, const char *setter)
{
    WidgetControl control(kind);
    control.receiver = receiver;
    control.setter = setter;
    return control;
}

QString infoText(const SampleInfo &info)
{
    const double seconds = info.sampleRate > 0 ? double(info.samples) / info.sampleRate : 0;
    return SoundEditor::tr("Channels: %1 (%2)\nSample rate: %3 Hz\nBits per sample: %4 bits\n"
                           "Duration: %5 seconds\nTick count: %6 at 60Hz")
        .arg(info.channels)
        .arg(info.channels < 2 ? SoundEditor::tr("Mono") : SoundEditor::tr("Stereo"))
        .arg(info.sampleRate)
        .arg(info.bits)
        .arg(seconds)
        .arg(static_cast<qint64>(std::floor(seconds * ticksPerSecond)));
}

QString noInfoText()
{
    return SoundEditor::tr("Channels: ---\nSample rate: ---\nBits per sample: ---\n"
                           "Duration: ---\nTick count: ---");
}

} // namespace

// --- The private part

SoundEditorPrivate::SoundEditorPrivate(SoundEditor *owner, Interface *host, SoundWorkspace &place)
    : QObject(owner)
    , editor(owner)
    , interface(host)
    , workspace(place)
    , fields(owner->active)
{
    declare();
    connect(this, &SoundEditorPrivate::enabled, owner, &SoundEditor::enabled);
}

void SoundEditorPrivate::declare()
{
    KilnTranslator *texts = KilnTranslator::instance();
    editorAction = interface->editorAction(QStringLiteral("editor_snd"), texts, editorText);
    QMenu *menu = interface->menu("sounds");
    for (const EditorAction &entry : actions) {
        const QString key = QLatin1String(entry.key);
        QWidget *place = entry.hasKey ? workspace.widget() : entry.isButton ? nullptr : menu;
        QAction *action = interface->addAction(place, key, texts, entry.textId, entry.checker, this,
                                               entry.slot, entry.enabler, entry.checker);
        if (action && entry.isButton)
            interface->actionControl(key, action, menu);
    }
    WidgetControl place = connected(this, Control::PositionSelector, "2setSelPos(int)");
    place.slot = "1selPosChanged(int)";
    place.enabler = thereIsASound;
    interface->addControl(QStringLiteral("snd_sel"), place);
    interface->addControl(QStringLiteral("snd_sel_lb"),
                          connected(this, Control::Label, "2setPosText(QString)"));
    interface->addControl(QStringLiteral("snd_info_lb"),
                          connected(this, Control::Label, "2setInfoText(QString)"));
}

QWidget *SoundEditorPrivate::window() const
{
    return interface->mainWindow();
}

void SoundEditorPrivate::setFile(Sounds *file)
{
    if (sounds)
        sounds->disconnect(this);
    sounds = file;
    row = QPersistentModelIndex();
    position = 0;
    if (file) {
        connect(file, &Sounds::modified, this, &SoundEditorPrivate::contentsModified);
        // A step of the file's undo tells of the contents before it counts as taken.
        connect(file, &Sounds::changed, this, [this] { Q_EMIT editor->modified(); });
        const auto follow = [this] { rowsChanged(); };
        connect(file, &QAbstractItemModel::modelReset, this, follow);
        connect(file, &QAbstractItemModel::rowsInserted, this, follow);
        connect(file, &QAbstractItemModel::rowsRemoved, this, follow);
        connect(file, &QAbstractItemModel::rowsMoved, this, follow);
        connect(file, &QAbstractItemModel::layoutChanged, this, follow);
    }
    select(0);
    editor->soundCountChanged();
}

/// Shows the sound at a row; none for a row that the file does not have.
void SoundEditorPrivate::select(int index)
{
    workspace.stop();
    const bool isValid = index >= 0 && index < count();
    current = isValid ? sounds->itemAt(unsigned(index)) : nullptr;
    row = current ? QPersistentModelIndex(sounds->index(index)) : QPersistentModelIndex();
    showCurrent();
}

void SoundEditorPrivate::setCurrent(unsigned int index)
{
    if (count() == 0)
        return;
    const int wanted = int(qMin(index, unsigned(count() - 1)));
    if (sound() && row.row() == wanted)
        tellPosition();
    else
        select(wanted);
}

void SoundEditorPrivate::showCurrent()
{
    Sound *shown = sound();
    info = shown ? shown->sampleInfo() : SampleInfo();
    bytes = shown ? shown->data() : nullptr;
    crc = shown && shown->data() ? shown->data()->crc() : 0;
    fields.beginProgramChange();
    workspace.setSound(shown ? shown->sample() : SoundSample());
    fields.endProgramChange();
    tellPosition();
    Q_EMIT setInfoText(shown ? infoText(info) : noInfoText());
    tellEnabled();
    tellPlaying();
    editor->soundChanged(shown);
}

/// Rows came, went or moved: the same sound stays, or the one in its place comes.
void SoundEditorPrivate::rowsChanged()
{
    if (sound())
        tellPosition();
    else
        select(qMin(position, count() - 1));
    editor->soundCountChanged();
}

/// Whether the view has the bytes that the sound has now.
bool SoundEditorPrivate::isShown() const
{
    const Sound *shown = sound();
    const SampleInfo now = shown->sampleInfo();
    return shown->data() == bytes && (!shown->data() || shown->data()->crc() == crc) &&
           now.samples == info.samples && now.sampleRate == info.sampleRate &&
           now.bits == info.bits && now.channels == info.channels;
}

/// The file may have other bytes for the sound, by its undo or by another editor.
void SoundEditorPrivate::contentsModified()
{
    if (sound() && !isShown())
        showCurrent();
    Q_EMIT editor->modified();
}

void SoundEditorPrivate::tellPosition()
{
    position = row.isValid() ? row.row() : position;
    fields.beginProgramChange();
    if (auto *slider =
            qobject_cast<QAbstractSlider *>(interface->control(QStringLiteral("snd_sel"))))
        slider->setRange(0, qMax(0, count() - 1));
    Q_EMIT setSelPos(row.isValid() ? row.row() : 0);
    fields.endProgramChange();
    Q_EMIT setPosText(
        QStringLiteral("%1 / %2").arg(row.isValid() ? row.row() + 1 : 0).arg(count()));
    OrganizerEditor *panel = organizer();
    if (panel && editor->isActive())
        panel->setCurrentRow(row);
}

void SoundEditorPrivate::tellEnabled()
{
    const bool active = editor->isActive();
    Q_EMIT noFile(active && sounds);
    Q_EMIT enabled(active && sound());
}

void SoundEditorPrivate::tellPlaying()
{
    const SoundSample::State state = workspace.currentState();
    Q_EMIT playing(state == SoundSample::Playing);
    Q_EMIT looping(state == SoundSample::Looping);
    Q_EMIT stopped(state == SoundSample::Stopped);
}

OrganizerEditor *SoundEditorPrivate::organizer() const
{
    return qobject_cast<OrganizerEditor *>(interface->extraEditor(0));
}

/// The organizer lets go of the sounds before they end.
void SoundEditorPrivate::showPanel(bool isShown)
{
    OrganizerEditor *panel = organizer();
    if (panel) {
        panel->disconnect(this);
        panel->setObject(isShown ? sounds.data() : nullptr);
        if (isShown)
            connect(panel, &OrganizerEditor::itemClicked, this,
                    [this](int clicked) { setCurrent(unsigned(clicked)); });
    }
    if (isShown)
        tellPosition();
    const bool isWanted = interface->option(QStringLiteral("show_organizer"), false).toBool();
    if (isShown && !(panel && isWanted))
        interface->setExtraEditor(nullptr);
}

QVariant SoundEditorPrivate::fileOption(const char *key) const
{
    return sounds->project() ? sounds->option(QLatin1String(key))
                             : interface->option(QLatin1String(key), QVariant());
}

void SoundEditorPrivate::del()
{
    if (!sound() || working)
        return;
    const QPersistentModelIndex wanted = row;
    const Still still(this);
    const bool isAgreed = !interface->option(QStringLiteral("confirm_delete"), true).toBool() ||
                          askQuestion(window(), KilnTranslator::instance()->text(152),
                                      SoundEditor::tr("Do you really want to delete the sprite?"));
    if (isAgreed && still.isSo() && wanted.isValid())
        sounds->remove(unsigned(wanted.row()));
}

/// What is being heard goes on.
void SoundEditorPrivate::duplicate()
{
    if (!sound() || working)
        return;
    editor->switchToThis();
    if (sound())
        sounds->insert(insertRow(), current->property(identifierName), current->sample());
}

/// Once in place of a loop, and the other way round; what plays so already stops.
void SoundEditorPrivate::listen(bool starts, bool loop)
{
    if (!fields.canChangeFieldValue())
        return;
    workspace.stop();
    if (starts)
        workspace.play(loop);
    tellPlaying();
}

void SoundEditorPrivate::play(bool checked)
{
    listen(checked, false);
}

void SoundEditorPrivate::playLoop(bool checked)
{
    listen(checked, true);
}

void SoundEditorPrivate::stop(bool)
{
    listen(false, false);
}

void SoundEditorPrivate::previous()
{
    if (sound() && row.row() > 0)
        setCurrent(unsigned(row.row() - 1));
}

void SoundEditorPrivate::next()
{
    if (sound())
        setCurrent(unsigned(row.row() + 1));
}

void SoundEditorPrivate::selPosChanged(int index)
{
    if (fields.canChangeFieldValue() && index >= 0)
        setCurrent(unsigned(index));
}

// --- The editor

SoundEditor::SoundEditor(SoundWorkspace &workspace, QObject *parent)
    : FileEditor(parent)
    , d(std::make_unique<SoundEditorPrivate>(this, interface, workspace))
{
    retranslate();
}

SoundEditor::~SoundEditor() = default;

QAction *SoundEditor::action() const
{
    return d->editorAction;
}

const char *SoundEditor::name() const
{
    return "sounds";
}

unsigned int SoundEditor::areas() const
{
    return 7;
}

void SoundEditor::activate()
{
    active = true;
    d->showPanel(true);
    interface->setEditorWidget(d->workspace.widget());
    connect(&d->workspace, &SoundWorkspace::stateChanged, d.get(), &SoundEditorPrivate::tellPlaying,
            Qt::UniqueConnection);
    d->tellEnabled();
    d->tellPlaying();
}

void SoundEditor::deactivate()
{
    active = false;
    d->workspace.stop();
    d->workspace.disconnect(d.get());
    d->showPanel(false);
    d->tellEnabled();
}

void SoundEditor::retranslate()
{
    Q_EMIT d->setInfoText(d->sound() ? infoText(d->info) : noInfoText());
    if (QWidget *label = interface->control(QStringLiteral("snd_info_lb")))
        label->setAccessibleName(tr("Format of the sound"));
    d->tellPosition();
}

void SoundEditor::navigateTo(unsigned int row, unsigned int)
{
    setCurrent(row);
}

bool SoundEditor::find(const ProjectFile *file, const QString &text, unsigned int flags)
{
    const auto *list = dynamic_cast<const Sounds *>(file);
    const ItemMatch matches(text, flags);
    if (!list || !matches.isPossible())
        return false;
    const int count = int(list->itemCount());
    const int start = list == d->sounds && d->sound() ? d->row.row()
                      : flags & Backward              ? count
                                                      : -1;
    const int row = firstMatch(matches, rowsToSearch(count, start, flags),
                               [list](int at) { return list->itemAt(unsigned(at)); });
    if (row >= 0 && list == d->sounds)
        setCurrent(unsigned(row));
    return row >= 0;
}

void SoundEditor::replace(const QString &text, const QString &by, unsigned int flags, bool all)
{
    const ItemMatch matches(text, flags);
    if (!d->sound() || !matches.isPossible())
        return;
    Sounds *list = d->sounds;
    Sound *one = all ? nullptr : d->current;
    if (replaceIdentifiers(list, matches, by, one,
                           [list](unsigned int i) { return list->itemAt(i); }) &&
        !all)
        find(text, flags | Silent);
}

Project::FileID::Type SoundEditor::canEditFileType()
{
    return Project::FileID::Sounds;
}

void SoundEditor::setCurrentFile(ProjectFile *file)
{
    auto *list = dynamic_cast<Sounds *>(file);
    if (list && list == d->sounds)
        return;
    FileEditor::setCurrentFile(list ? file : nullptr);
    Project *project = list ? list->project() : nullptr;
    const int index = project ? project->filesByType(canEditFileType()).indexOf(file) : -1;
    if (index >= 0)
        project->setSelectedFile(canEditFileType(), unsigned(index));
    d->setFile(list);
    if (active)
        d->showPanel(true);
}

void SoundEditor::soundChanged(Sound *)
{
}

void SoundEditor::soundCountChanged()
{
}

Sound *SoundEditor::currentSound() const
{
    return d->sound();
}

Sounds *SoundEditor::sounds() const
{
    return d->sounds;
}

void SoundEditor::setCurrent(unsigned int index)
{
    d->setCurrent(index);
}

bool SoundEditor::canChangeFieldValue() const
{
    return d->fields.canChangeFieldValue();
}

bool SoundEditor::canDiscardChanges() const
{
    return canDiscard(currentFile());
}

void SoundEditor::contentsChanged()
{
    Project *project = interface->currentProject();
    setCurrentFile(project ? project->file(canEditFileType()) : nullptr);
    Q_EMIT modified();
}

} // namespace Kiln
