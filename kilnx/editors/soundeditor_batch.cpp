// What the sound editor does to many sounds: resampling, and the import from other projects.

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
#include <QtCore/QTimer>

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
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &m_loop, [this] { showDone(); });
        poll.start(pollMs);
        if (m_running > 0)
            m_loop.exec();
        progress->finish();
        return !m_isCancelled && m_sounds;
    }

private:
    using Watcher = QFutureWatcher<SoundSample>;
    static constexpr int pollMs = 50;

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
        showDone();
        startNext();
        if (m_running == 0)
            m_loop.quit();
    }

    /// A cancel does not wait for the sounds that are on their way: they have all that they need.
    void showDone()
    {
        if (!m_isCancelled)
            m_progress->setProgress(m_done, 0, &m_isCancelled);
        if (m_isCancelled || !m_sounds)
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

/// How many sounds were added, behind the current one; -1 when the file or the source was closed
/// meanwhile, and when the user has cancelled. All questions come first, then one change.
int SoundEditorPrivate::importSounds(Sounds &from, const ImportOptions &options)
{
    const Still still(this);
    const QPointer<Sounds> source(&from);
    const auto isWanted = [&] { return source && still.isSo(); };
    const QString word = QStringLiteral("sound");
    ImportPlan plan(window(), *sounds, int(insertRow()), options.policy,
                    SoundEditor::tr("Sound '%1' already exists, do you want to replace it?"),
                    [this](int row) {
                        return sounds->itemAt(unsigned(row))->property(identifierName).toString();
                    });
    if (!plan.settleAll(*interface, word, options, from, isWanted))
        return -1;
    const unsigned int first = insertRow();
    unsigned int at = first;
    QList<int> unread;
    const auto take = [&](int i) {
        const ImportPlan::Step &step = plan.steps()[i];
        const QPersistentModelIndex &row = plan.source(step);
        const SoundSample sample =
            row.isValid() ? source->itemAt(unsigned(row.row()))->sample() : SoundSample();
        if (sample.data.isEmpty())
            unread.append(options.items[step.item]->row);
        else
            takeIn(step, sample, &at);
        return !sample.data.isEmpty();
    };
    if (!changeEach(this, sounds.data(), plan.steps().size(),
                    SoundEditor::tr("Importing sounds..."), isWanted, take))
        return -1;
    if (at > first) {
        select(int(first));
        editor->contentsChanged();
    }
    for (int i = 0; i < unread.size() && isWanted(); ++i)
        warnOfImport(*interface, word, unread[i], options.project->displayName());
    return int(at - first);
}

void SoundEditorPrivate::takeIn(const ImportPlan::Step &step,
                                const SoundSample &sample,
                                unsigned int *at)
{
    if (!step.replaced.isValid()) {
        *at += sounds->insert(*at, step.name, sample) != nullptr;
        return;
    }
    Sound *target = sounds->itemAt(unsigned(step.replaced.row()));
    target->setSample(sample);
    target->setProperty(identifierName, step.name);
}

} // namespace Kiln
