// What the sound editor does to many sounds: resampling, and the import from other projects.

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/editors/projimport.h>
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
/// are read on the caller's thread alone, as the pool needs them.
class Resampling
{
public:
    /// `results` has one place for each row; what was refused stays without data.
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
        const SoundSample source = sound ? sound->sample() : SoundSample();
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
    if (rows.size() > 1)
        sounds->beginChange();
    for (int i = 0; i < rows.size(); ++i) {
        if (rows[i].isValid() && !results[i].data.isEmpty())
            sounds->itemAt(unsigned(rows[i].row()))->setSample(results[i]);
    }
    if (rows.size() > 1)
        sounds->endChange();
    tellPosition();
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
    SndImportDlg dialog(interface, project, window());
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const ImportOptions options = dialog.options();
    auto *source = options.project
                       ? dynamic_cast<Sounds *>(options.project->file(Project::FileID::Sounds))
                       : nullptr;
    const int added = source ? importSounds(*source, options) : 0;
    if (added < 0)
        return;
    const QString told = added > 0 ? SoundEditor::tr("%n sound(s) were imported!", nullptr, added)
                                   : SoundEditor::tr("No sound imported!");
    showInformation(window(), KilnTranslator::instance()->text(72), told);
}

/// Adds what becomes of an item to `steps`; nothing for one that is left out. A name that an
/// earlier step adds counts as taken. False when a file was closed behind a box.
bool SoundEditorPrivate::settle(Sounds &source,
                                const ImportItem &item,
                                const ImportOptions &options,
                                QVector<ImportStep> *steps)
{
    const Still still(this);
    const QPointer<Sounds> alive(&source);
    const Sound *picked = source.itemAt(unsigned(item.row));
    if (!picked || !picked->data() || picked->data()->isEmpty()) {
        showWarning(window(), interface->text(Interface::FailureTitle),
                    interface->text(Interface::ImportFailureText)
                        .arg(QStringLiteral("sound"))
                        .arg(item.row)
                        .arg(options.project->displayName()));
        return still.isSo() && alive;
    }
    ImportStep step{source.index(item.row), item.name, QModelIndex()};
    const bool isAdded = options.policy == ConflictPolicy::AddAnyway;
    const int found = isAdded ? -1 : sounds->find(0, item.name);
    const auto earlier = std::find_if(steps->begin(), steps->end(), [&](const ImportStep &before) {
        return !isAdded && !before.replaced.isValid() && before.name == item.name;
    });
    const bool isTaken = found >= 0 || earlier != steps->end();
    if (isTaken && options.policy == ConflictPolicy::Skip)
        return true;
    const QPersistentModelIndex existing = sounds->index(found);
    const bool replaces =
        isTaken &&
        (options.policy == ConflictPolicy::Replace ||
         askQuestion(window(), SoundEditor::tr("Conflict resolution!"),
                     SoundEditor::tr("Sound '%1' already exists, do you want to replace it?")
                         .arg(item.name)));
    if (!still.isSo() || !alive)
        return false;
    if (replaces && found >= 0)
        step.replaced = existing;
    if (replaces && found < 0)
        earlier->source = step.source;
    else
        steps->append(step);
    return true;
}

/// How many sounds were added; -1 when the file or the source was closed behind a box.
int SoundEditorPrivate::importSounds(Sounds &source, const ImportOptions &options)
{
    QVector<ImportStep> steps;
    for (const ImportItem *item : options.items) {
        if (!options.project || !settle(source, *item, options, &steps))
            return -1;
    }
    const unsigned int first = insertRow();
    unsigned int at = first;
    sounds->beginChange();
    for (const ImportStep &step : qAsConst(steps)) {
        if (!step.source.isValid())
            continue;
        const SoundSample sample = source.itemAt(unsigned(step.source.row()))->sample();
        if (step.replaced.isValid()) {
            Sound *target = sounds->itemAt(unsigned(step.replaced.row()));
            target->setSample(sample);
            target->setProperty(identifierName, step.name);
        } else if (sounds->insert(at, step.name, sample)) {
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
