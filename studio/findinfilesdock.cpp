#include "findinfilesdock.h"

#include <hostkit/editordeck.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/hostbase.h>
#include <hostkit/projectsession.h>
#include <hostkit/widgets.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/progress.h>

#include <QCheckBox>
#include <QDir>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

namespace Studio
{

using namespace HostKit;

namespace
{

enum Column { TextColumn, LineColumn, AfterColumn };

const int fileNameRole = Qt::UserRole; ///< of a row of a file
const int fileRole = Qt::UserRole + 1;
const int hitRole = Qt::UserRole + 2; ///< of a row of a hit

} // namespace

FindInFilesDock::FindInFilesDock(HostBase &host, QWidget *parent)
    : QDockWidget(tr("Find in files"), parent)
    , m_host(host)
    , m_search(host.session())
    , m_text(named(new QLineEdit(this), "search_text", tr("Text to find in all files")))
    , m_replacement(named(new QLineEdit(this), "search_replacement", tr("Replacement")))
    , m_start(named(new QPushButton(this), "search_start"))
    , m_replace(named(new QPushButton(tr("Replace checked"), this), "search_replace"))
    , m_options{named(new QCheckBox(tr("Regular expression"), this), "search_regex"),
                named(new QCheckBox(tr("Match case"), this), "search_case"),
                named(new QCheckBox(tr("Whole words"), this), "search_words")}
    , m_summary(named(new QLabel(this), "search_summary"))
    , m_results(named(new QTreeWidget(this), "search_results", tr("Hits")))
{
    named(this, "dock_find_in_files");
    makeFields();
    connect(m_text, &QLineEdit::returnPressed, this, &FindInFilesDock::search);
    connect(m_start, &QPushButton::clicked, this, &FindInFilesDock::search);
    connect(m_replacement, &QLineEdit::textChanged, this, &FindInFilesDock::showPreview);
    connect(m_replace, &QPushButton::clicked, this, &FindInFilesDock::replaceChecked);
    connect(m_results, &QTreeWidget::itemActivated, this, &FindInFilesDock::activate);
    connect(&m_search, &FileSearch::found, this, &FindInFilesDock::addHits);
    connect(&m_search, &FileSearch::finished, this, &FindInFilesDock::end);
    connect(&m_search, &FileSearch::progressed, this, [this](int done, int files) {
        m_summary->setText(
            tr("Hits: %1, searched: %2 of %3 files").arg(m_hits.size()).arg(done).arg(files));
    });
    updateButtons();
}

void FindInFilesDock::makeFields()
{
    m_text->setClearButtonEnabled(true);
    m_text->setPlaceholderText(tr("Find in all files of the project"));
    m_replacement->setPlaceholderText(tr("Replace by"));
    m_results->setHeaderLabels({tr("Text"), tr("Line"), tr("After")});
    m_results->header()->setStretchLastSection(false);
    m_results->header()->setSectionResizeMode(TextColumn, QHeaderView::Stretch);
    m_results->header()->setSectionResizeMode(AfterColumn, QHeaderView::Stretch);
    m_results->header()->resizeSection(LineColumn, 60);
    m_results->setColumnHidden(AfterColumn, true);
    m_results->setUniformRowHeights(true);

    auto *contents = new QWidget(this);
    auto *layout = new QGridLayout(contents);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(m_text, 0, 0);
    layout->addWidget(m_start, 0, 1);
    layout->addWidget(m_options.regularExpression, 0, 2);
    layout->addWidget(m_options.caseSensitive, 0, 3);
    layout->addWidget(m_options.wholeWords, 0, 4);
    layout->addWidget(m_replacement, 1, 0);
    layout->addWidget(m_replace, 1, 1);
    layout->addWidget(m_summary, 1, 2, 1, 3);
    layout->addWidget(m_results, 2, 0, 1, 5);
    layout->setColumnStretch(0, 1);
    setWidget(contents);
}

void FindInFilesDock::start(const QString &text)
{
    if (!text.isEmpty())
        m_text->setText(text);
    show();
    raise();
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
}

void FindInFilesDock::search()
{
    if (m_search.isRunning()) {
        m_search.stop();
        return;
    }
    clearResults();
    m_summary->setText(m_search.start(m_text->text(), m_options.flags()));
    updateButtons();
}

void FindInFilesDock::clearResults()
{
    m_search.stop();
    m_results->clear();
    m_summary->clear();
    m_hits.clear();
    updateButtons();
}

QTreeWidgetItem *FindInFilesDock::fileItem(const QString &fileName, Kiln::ProjectFile *file)
{
    const int count = m_results->topLevelItemCount();
    QTreeWidgetItem *last = count > 0 ? m_results->topLevelItem(count - 1) : nullptr;
    const QVariant pointer = QVariant::fromValue<void *>(file);
    if (last && last->data(0, fileNameRole) == fileName && last->data(0, fileRole) == pointer)
        return last;
    const Kiln::ParentProject *project = m_host.session().parentProject();
    const QString shown = fileName.isEmpty() ? tr("Untitled")
                          : project          ? QDir(project->basePath()).relativeFilePath(fileName)
                                             : fileName;
    auto *item = new QTreeWidgetItem(m_results, {shown});
    item->setToolTip(0, fileName);
    item->setData(0, fileNameRole, fileName);
    item->setData(0, fileRole, pointer);
    QFont bold = m_results->font();
    bold.setBold(true);
    item->setFont(0, bold);
    // What is no text is renamed in its own editor.
    if (!file || dynamic_cast<Kiln::CodeDocument *>(file)) {
        item->setFlags(item->flags() | Qt::ItemIsAutoTristate | Qt::ItemIsUserCheckable);
        item->setCheckState(0, Qt::Checked);
    }
    item->setExpanded(true);
    return item;
}

void FindInFilesDock::addHits(const QString &fileName,
                              Kiln::ProjectFile *file,
                              const QVector<FileHit> &hits)
{
    QTreeWidgetItem *parent = fileItem(fileName, file);
    const bool isCheckable = parent->flags() & Qt::ItemIsUserCheckable;
    QList<QTreeWidgetItem *> rows;
    for (const FileHit &hit : hits) {
        auto *item = new QTreeWidgetItem({hit.text.simplified(), QString::number(hit.line + 1)});
        item->setTextAlignment(LineColumn, Qt::AlignRight);
        item->setData(0, hitRole, m_hits.size());
        if (isCheckable)
            item->setCheckState(0, Qt::Checked);
        rows.append(item);
        m_hits.append(hit);
    }
    parent->addChildren(rows);
}

void FindInFilesDock::end(FileSearch::End how)
{
    QString text =
        m_hits.isEmpty()
            ? tr("Nothing found.")
            : tr("Hits: %1, files: %2").arg(m_hits.size()).arg(m_results->topLevelItemCount());
    if (how == FileSearch::Stopped)
        text += QLatin1Char(' ') + tr("Stopped.");
    else if (how == FileSearch::TooMany)
        text += QLatin1Char(' ') + tr("There are more.");
    else if (how == FileSearch::TooSlow)
        text += QLatin1Char(' ') + tr("The expression takes too long.");
    m_summary->setText(text);
    showPreview();
    updateButtons();
}

void FindInFilesDock::updateButtons()
{
    const bool isRunning = m_search.isRunning();
    m_start->setText(isRunning ? tr("Stop") : tr("Find all"));
    m_replace->setEnabled(!isRunning && !m_hits.isEmpty());
}

/// Each line as it will be; nothing while no replacement has been typed.
void FindInFilesDock::showPreview()
{
    const QString by = m_replacement->text();
    m_results->setColumnHidden(AfterColumn, by.isEmpty());
    if (by.isEmpty() || m_search.isRunning())
        return;
    for (int i = 0; i < m_results->topLevelItemCount(); ++i) {
        QTreeWidgetItem *parent = m_results->topLevelItem(i);
        for (int row = 0; row < parent->childCount(); ++row) {
            QTreeWidgetItem *item = parent->child(row);
            const FileHit &hit = m_hits.at(item->data(0, hitRole).toInt());
            QString after = hit.text;
            after.replace(hit.start, hit.matched.size(), m_search.replacement(hit, by));
            item->setText(AfterColumn, after.simplified());
        }
    }
}

Kiln::ProjectFile *FindInFilesDock::openFile(QTreeWidgetItem *item)
{
    const QString name = item->data(0, fileNameRole).toString();
    auto *file = static_cast<Kiln::ProjectFile *>(item->data(0, fileRole).value<void *>());
    if (!name.isEmpty())
        return m_host.desk().openFile(name, 0) ? m_host.session().findFile(name) : nullptr;
    return m_host.session().files().contains(file) && m_host.desk().showFile(file) ? file : nullptr;
}

void FindInFilesDock::activate(QTreeWidgetItem *item)
{
    if (!item->parent())
        return;
    const FileHit hit = m_hits.value(item->data(0, hitRole).toInt());
    if (Kiln::ProjectFile *file = openFile(item->parent()))
        m_host.desk().showPlace(file, hit.line, hit.column);
}

void FindInFilesDock::replaceChecked()
{
    if (m_replacement->text().isEmpty() &&
        !Kiln::askQuestion(this, windowTitle(), tr("Do you want to remove what was found?")))
        return;
    QList<QTreeWidgetItem *> files; // behind the question, which may have closed the project
    for (int i = 0; i < m_results->topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = m_results->topLevelItem(i);
        if (item->flags() & Qt::ItemIsUserCheckable && item->checkState(0) != Qt::Unchecked)
            files.append(item);
    }
    if (files.isEmpty())
        return;
    int replaced = 0;
    int missed = 0;
    int done = 0;
    bool isCancelled = false;
    m_host.setBusy(true); // nothing is closed behind the progress
    Kiln::Progress *progress = m_host.progress(tr("Replacing..."), true);
    progress->setProgress(0, unsigned(files.size()));
    for (; done < files.size() && !isCancelled; ++done) {
        replaced += replaceIn(files.at(done), &missed);
        progress->setProgress(unsigned(done) + 1, 0, &isCancelled);
    }
    progress->finish();
    m_host.setBusy(false);
    clearResults();
    QString text = tr("Replaced: %1, files: %2").arg(replaced).arg(done);
    if (missed > 0)
        text += QLatin1Char(' ') + tr("Not there any more, or not to be changed: %1").arg(missed);
    m_summary->setText(text);
}

int FindInFilesDock::replaceIn(QTreeWidgetItem *item, int *missed)
{
    QVector<FileHit> hits;
    for (int row = 0; row < item->childCount(); ++row) {
        if (item->child(row)->checkState(0) == Qt::Checked)
            hits.append(m_hits.at(item->child(row)->data(0, hitRole).toInt()));
    }
    auto *document = dynamic_cast<Kiln::CodeDocument *>(openFile(item));
    const int count = document && document->canSave()
                          ? m_search.replace(*document, hits, m_replacement->text())
                          : 0;
    *missed += hits.size() - count;
    return count;
}

} // namespace Studio
