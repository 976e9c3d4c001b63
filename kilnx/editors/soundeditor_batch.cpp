// What the sound editor does to many sounds: resampling, and the import from other projects.

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/editors/eachitem_p.h>
#include <kilnx/editors/exportfiles_p.h>
#include <kilnx/editors/soundeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/forms/resampledlg.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/project/translator.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QEventLoop>
#include <QtCore/QFutureWatcher>
#include <QtCore/QThreadPool>

#include <memory>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");

bool isSameFormat(const SampleInfo &a, const SampleInfo &b)
{
    return a.channels == b.channels && a.bits == b.bits && a.sampleRate == b.sampleRate;
}

/// Sounds on their way to another format, on the threads of the global pool. The items of the file
/// are read on the caller's thread alone, as the pool needs them. What cannot be decoded is
/// refused.
class Resampling
{
public:
    /// `results` has one place for each row; what was refused has no channels.
    Resampling(const QPointer<Sounds> &sounds,
               const QList<QPersistentModelIndex> &rows,
               const SampleInfo &target,
               QVector<SoundSample> *results)
        : m_sounds(sounds)
        , m_rows(rows)
        , m_target(target)
        , m_results(results)
    {
    }

    /// Runs events until all is done, and shows how far it is. False when the user has cancelled,
    /// or the file is gone.
    bool run(Progress *progress)
    {
        m_progress = progress;
        progress->setProgress(0, unsigned(m_rows.size()), &m_isCancelled);
        const int jobs = 2 * QThreadPool::globalInstance()->maxThreadCount();
        for (int i = 0; i < jobs; ++i)
            startNext();
        if (m_running > 0)
            m_loop.exec();
        progress->finish();
        return !m_isCancelled && m_sounds;
    }

private:
    using Watcher = QFutureWatcher<SoundSample>;

    static SoundSample convert(const SoundSample &source, const SampleInfo &target)
    {
        SoundSample result;
        return Kiln::resample(source, target, result) ? result : SoundSample();
    }

    void startNext()
    {
        const int job = m_next;
        if (job == m_rows.size() || m_isCancelled || !m_sounds)
            return;
        ++m_next;
        ++m_running;
        const Sound *sound =
            m_rows[job].isValid() ? m_sounds->itemAt(unsigned(m_rows[job].row())) : nullptr;
        SoundSample source = sound ? sound->sample() : SoundSample();
        if (source.data.isEmpty() && sound && sound->sampleInfo().samples > 0)
            source = SoundSample();
        auto *watcher = new Watcher(&m_loop);
        QObject::connect(watcher, &Watcher::finished, &m_loop, [this, watcher, job] {
            (*m_results)[job] = watcher->result();
            watcher->deleteLater();
            finishOne();
        });
        watcher->setFuture(QtConcurrent::run(&Resampling::convert, source, m_target));
    }

    /// The indicator runs events, and more than one may come to its end in there.
    void finishOne()
    {
        --m_running;
        ++m_done;
        if (!m_isCancelled)
            m_progress->setProgress(m_done, 0, &m_isCancelled);
        startNext();
        if (m_running == 0)
            m_loop.quit();
    }

    const QPointer<Sounds> m_sounds;
    const QList<QPersistentModelIndex> m_rows;
    const SampleInfo m_target;
    QVector<SoundSample> *m_results;
    Progress *m_progress = nullptr;
    QEventLoop m_loop;
    int m_next = 0;
    int m_running = 0;
    unsigned int m_done = 0;
    bool m_isCancelled = false;
};

} // namespace

// --- Resampling

void SoundEditorPrivate::resample()
{
    if (!sound() || working)
        return;
    const Still still(this);
    SampleInfo target = info;
    ResampleDlg dialog(window(), sounds, row.row(), info.sampleRate, info.bits, info.channels);
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    target.sampleRate = dialog.sampleRate();
    target.bits = static_cast<unsigned short>(dialog.bits());
    target.channels = static_cast<unsigned short>(dialog.channels());
    QList<int> rows;
    const QList<int> selected = dialog.selectedRows();
    for (const int each : selected) {
        if (!isSameFormat(sounds->itemAt(unsigned(each))->sampleInfo(), target))
            rows.append(each);
    }
    if (!rows.isEmpty())
        convert(rows, target);
}

/// All is converted before anything is written: a cancel, or the end of the file, changes nothing.
void SoundEditorPrivate::convert(const QList<int> &chosen, const SampleInfo &target)
{
    QList<QPersistentModelIndex> rows;
    for (const int each : chosen)
        rows.append(sounds->index(each));
    const Still still(this);
    const QPointer<SoundEditorPrivate> alive(this);
    QVector<SoundSample> results(rows.size());
    working = true;
    Progress *progress = interface->progress(SoundEditor::tr("Resampling..."), true);
    const bool isDone = Resampling(sounds, rows, target, &results).run(progress);
    if (alive)
        working = false;
    if (!isDone || !still.isSo())
        return;
    QStringList refused;
    sounds->beginChange();
    for (int i = 0; i < rows.size(); ++i) {
        Sound *sound = rows[i].isValid() ? sounds->itemAt(unsigned(rows[i].row())) : nullptr;
        if (sound && results[i].channels > 0)
            sound->setSample(results[i]);
        else if (sound)
            refused.append(sound->property(identifierName).toString());
    }
    sounds->endChange();
    tellPosition();
    if (!refused.isEmpty())
        showWarning(
            window(), KilnTranslator::instance()->text(155),
            SoundEditor::tr("These sounds could not be resampled:\n%1").arg(listedNames(refused)));
}

// --- Import

void SoundEditorPrivate::projImport()
{
    Project *project = sounds ? sounds->project() : nullptr;
    if (!project || working)
        return;
    const Still still(this);
    if (interface->projectCount() < 2)
        showWarning(window(), SoundEditor::tr("Warning"),
                    SoundEditor::tr("You can't import from the destination project!"));
    if (!still.isSo())
        return;
    editor->switchToThis();
    if (!still.isSo())
        return;
    SndImportDlg dialog(interface, project, window());
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const ImportOptions options = dialog.options();
    auto *source = options.project
                       ? dynamic_cast<Sounds *>(options.project->file(Project::FileID::Sounds))
                       : nullptr;
    const int added = source ? importSounds(*source, options) : 0;
    if (added < 0 || !still.isSo())
        return;
    const QString told = added > 0 ? SoundEditor::tr("%n sound(s) were imported!", nullptr, added)
                                   : SoundEditor::tr("No sound imported!");
    showInformation(window(), KilnTranslator::instance()->text(72), told);
}

/// How many sounds were added; -1 when the file or the source was closed behind a box, and when the
/// user has cancelled. All is read before anything is changed.
int SoundEditorPrivate::importSounds(Sounds &from, const ImportOptions &options)
{
    const Still still(this);
    const QPointer<Sounds> source(&from);
    ImportPlan plan(window(), *sounds, int(insertRow()), options.policy,
                    SoundEditor::tr("Sound '%1' already exists, do you want to replace it?"),
                    [this](int row) {
                        return sounds->itemAt(unsigned(row))->property(identifierName).toString();
                    });
    QVector<QPersistentModelIndex> picked; // behind a box the source may have other rows
    for (const ImportItem *item : options.items)
        picked.append(source->index(item->row));
    for (int i = 0; i < picked.size(); ++i) {
        const Sound *sound =
            picked[i].isValid() ? source->itemAt(unsigned(picked[i].row())) : nullptr;
        if (sound && sound->data() && !sound->data()->isEmpty()) {
            plan.settle(i, options.items[i]->name);
        } else {
            warnOfImport(*interface, QStringLiteral("sound"), options.items[i]->row,
                         options.project->displayName());
            plan.forgetRows();
        }
        if (!still.isSo() || !source)
            return -1;
    }
    const QVector<ImportPlan::Step> &steps = plan.steps();
    QVector<SoundSample> samples(steps.size());
    const auto read = [&](int i) {
        const QPersistentModelIndex &row = picked[steps[i].item];
        if (source && row.isValid())
            samples[i] = source->itemAt(unsigned(row.row()))->sample();
    };
    if (!doWithEach(this, steps.size(), SoundEditor::tr("Importing sounds..."), read) || !source)
        return -1;
    const int added = takeIn(steps, samples);
    for (int i = 0; i < steps.size() && still.isSo() && options.project; ++i) {
        if (samples[i].data.isEmpty())
            warnOfImport(*interface, QStringLiteral("sound"), options.items[steps[i].item]->row,
                         options.project->displayName());
    }
    return added;
}

/// As one change of the file, behind the current sound; what could not be decoded is left out. How
/// many sounds were added.
int SoundEditorPrivate::takeIn(const QVector<ImportPlan::Step> &steps,
                               const QVector<SoundSample> &samples)
{
    const unsigned int first = insertRow();
    unsigned int at = first;
    sounds->beginChange();
    for (int i = 0; i < steps.size(); ++i) {
        if (samples[i].data.isEmpty())
            continue;
        if (steps[i].replaced.isValid()) {
            Sound *target = sounds->itemAt(unsigned(steps[i].replaced.row()));
            target->setSample(samples[i]);
            target->setProperty(identifierName, steps[i].name);
        } else if (sounds->insert(at, steps[i].name, samples[i])) {
            ++at;
        }
    }
    sounds->endChange();
    if (at > first) {
        select(int(first));
        editor->contentsChanged();
    }
    return int(at - first);
}

} // namespace Kiln
