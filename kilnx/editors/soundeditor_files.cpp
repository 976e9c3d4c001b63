// WAV files: how they come into the sound editor's file, and out of it.

#include <kilnx/editors/eachitem_p.h>
#include <kilnx/editors/exportfiles_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/soundeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/project/translator.h>
#include <kilnx/sound/wav.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace Kiln
{

namespace
{

QString wavFilter()
{
    return SoundEditor::tr("WAV sounds") + QStringLiteral(" (*.wav *.WAV)");
}

SoundSample readSound(const QString &path)
{
    QFile file(path);
    return soundFromWAV(&file);
}

/// The bytes of a WAV file; none for a sound that cannot be decoded.
QByteArray encoded(const SoundSample &sample)
{
    QBuffer buffer;
    return !sample.data.isEmpty() && soundToWAV(sample, &buffer) ? buffer.data() : QByteArray();
}

QString text(int id)
{
    return KilnTranslator::instance()->text(id);
}

} // namespace

QString SoundEditorPrivate::startPath() const
{
    const QString own = fileOption("snd_path").toString();
    return own.isEmpty() ? fileOption("project_path").toString() : own;
}

void SoundEditorPrivate::keepPath(const QString &fileName)
{
    const QString key = QStringLiteral("snd_path");
    const QString directory = QFileInfo(fileName).absolutePath();
    if (Project *project = sounds->project())
        project->setOption(key, directory, true);
    else
        interface->setOption(key, directory);
}

/// WAV first: the engine's own pattern may be that of whole sound files.
QString SoundEditorPrivate::openFilter() const
{
    const Engine *engine = interface->engine();
    const QString pattern =
        engine ? engine->singleFileFilters().value(Project::FileID::Sounds) : QString();
    return pattern.isEmpty() ? wavFilter()
                             : wavFilter() + QStringLiteral(";;%1 (%2)").arg(text(150), pattern);
}

void SoundEditorPrivate::warnOfSound(const QString &fileName)
{
    showWarning(
        window(), interface->text(Interface::FailureTitle),
        interface->text(Interface::SoundFailureText).arg(QDir::toNativeSeparators(fileName)));
}

void SoundEditorPrivate::add()
{
    if (!sounds || working)
        return;
    const Still still(this);
    const QStringList paths = getOpenFileNames(window(), text(151), startPath(), openFilter());
    if (paths.isEmpty() || !still.isSo())
        return;
    editor->switchToThis();
    if (!still.isSo())
        return;
    keepPath(paths.first());
    QList<QVariant> names;
    editor->identifiers(paths, names);
    if (still.isSo() && names.size() >= paths.size())
        insertFiles(paths, names);
}

/// As one change of the file, behind the current sound; the last new one is shown. All is read
/// first, so that a cancel adds nothing; what could not be read is told at the end.
void SoundEditorPrivate::insertFiles(const QStringList &paths, const QList<QVariant> &names)
{
    const Still still(this);
    QVector<SoundSample> samples(paths.size());
    if (!doWithEach(this, paths.size(), SoundEditor::tr("Reading sounds..."),
                    [&](int i) { samples[i] = readSound(paths[i]); }))
        return;
    const unsigned int first = insertRow();
    unsigned int at = first;
    sounds->beginChange();
    for (int i = 0; i < paths.size(); ++i) {
        if (samples[i].samples > 0 && sounds->insert(at, names[i], samples[i]))
            ++at;
    }
    sounds->endChange();
    if (at > first)
        select(int(at) - 1);
    for (int i = 0; i < paths.size() && still.isSo(); ++i) {
        if (samples[i].samples == 0)
            warnOfSound(paths[i]);
    }
}

void SoundEditorPrivate::openSnd()
{
    if (!sound() || working)
        return;
    const Still still(this);
    const QPersistentModelIndex wanted = row;
    const QString path = getOpenFileName(window(), text(153), startPath(), openFilter());
    if (path.isEmpty() || !still.isSo() || !wanted.isValid())
        return;
    keepPath(path);
    const SoundSample sample = readSound(path);
    if (sample.samples == 0)
        warnOfSound(path);
    else
        sounds->itemAt(unsigned(wanted.row()))->setSample(sample);
}

/// The rows that are selected in the organizer, or else the current one.
QVector<int> SoundEditorPrivate::chosenRows() const
{
    const OrganizerEditor *panel = organizer();
    const QVector<int> rows =
        panel && panel->object() == sounds ? panel->selectedRows() : QVector<int>();
    return rows.isEmpty() ? QVector<int>{row.row()} : rows;
}

void SoundEditorPrivate::saveSndAs()
{
    if (!sound() || working)
        return;
    const Still still(this);
    editor->switchToThis();
    if (!still.isSo() || !sound())
        return;
    const QString path =
        getSaveFileName(window(), text(154), startPath(), wavFilter(), QStringLiteral(".wav"));
    if (path.isEmpty() || !still.isSo() || !sound())
        return;
    keepPath(path);
    saveSounds(chosenRows(), path);
}

/// Tells of all that could not be written in one message. After a cancel, and when the file is
/// closed meanwhile, all is as it was before.
void SoundEditorPrivate::saveSounds(const QVector<int> &chosen, const QString &path)
{
    const Still still(this);
    const int count = chosen.size();
    QStringList identifiers;
    QList<QPersistentModelIndex> rows;
    for (const int each : chosen) {
        Sound *saved = sounds->itemAt(unsigned(each));
        identifiers.append(saved->property(QStringLiteral("Identifier")).toString());
        rows.append(sounds->index(each));
    }
    const QStringList names = count > 1 ? exportNames(identifiers, path) : QStringList(path);
    if (!mayReplaceFiles(window(), text(154), names, path) || !still.isSo())
        return;
    ExportedFiles files;
    QStringList failed;
    const auto write = [&](int i) {
        const QByteArray bytes = rows[i].isValid()
                                     ? encoded(sounds->itemAt(unsigned(rows[i].row()))->sample())
                                     : QByteArray();
        if (bytes.isEmpty() || !files.write(names[i], bytes))
            failed.append(names[i]);
    };
    if (!doWithEach(this, count, text(154), write))
        return;
    failed += files.commit();
    if (!failed.isEmpty())
        showWarning(
            window(), text(154),
            SoundEditor::tr("These sounds could not be saved:\n%1").arg(listedFiles(failed)));
}

} // namespace Kiln
