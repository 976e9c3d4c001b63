#include "findinfilesdock.h"

#include <hostkit/widgets.h>

#include <kilnx/project/projectfile.h>

#include <QCheckBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTreeWidget>

namespace Studio
{

using namespace HostKit;

namespace
{

const int fileRole = Qt::UserRole;
const int lineRole = Qt::UserRole + 1;
const int columnRole = Qt::UserRole + 2;

} // namespace

FindInFilesDock::FindInFilesDock(QWidget *parent)
    : QDockWidget(tr("Find in files"), parent)
    , m_text(named(new QLineEdit(this), "search_text", tr("Text to find in all files")))
    , m_regularExpression(named(new QCheckBox(tr("Re&gular expression"), this), "search_regex"))
    , m_caseSensitive(named(new QCheckBox(tr("Match ca&se"), this), "search_case"))
    , m_summary(named(new QLabel(this), "search_summary"))
    , m_results(named(new QTreeWidget(this), "search_results", tr("Hits")))
{
    named(this, "dock_find_in_files");
    auto *button = named(new QPushButton(tr("Find a&ll"), this), "search_start");
    m_text->setClearButtonEnabled(true);
    m_text->setPlaceholderText(tr("Find in all files of the project"));
    m_results->setHeaderLabels({tr("Text"), tr("Line")});
    m_results->header()->setStretchLastSection(false);
    m_results->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_results->header()->resizeSection(1, 60);
    m_results->setUniformRowHeights(true);

    auto *contents = new QWidget(this);
    auto *layout = new QGridLayout(contents);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(m_text, 0, 0);
    layout->addWidget(button, 0, 1);
    layout->addWidget(m_regularExpression, 0, 2);
    layout->addWidget(m_caseSensitive, 0, 3);
    layout->addWidget(m_summary, 0, 4);
    layout->addWidget(m_results, 1, 0, 1, 5);
    layout->setColumnStretch(0, 1);
    setWidget(contents);

    connect(m_text, &QLineEdit::returnPressed, this, &FindInFilesDock::searchRequested);
    connect(button, &QPushButton::clicked, this, &FindInFilesDock::searchRequested);
    connect(m_results, &QTreeWidget::itemActivated, this, &FindInFilesDock::activate);
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

void FindInFilesDock::search(const QList<Kiln::ProjectFile *> &files)
{
    clearResults();
    if (m_text->text().isEmpty())
        return;
    const QString pattern = m_regularExpression->isChecked()
                                ? m_text->text()
                                : QRegularExpression::escape(m_text->text());
    // A search goes on where the last match ended, so a match must never end where it began to
    // look: an expression for empty text would be found at one place for ever.
    const QRegularExpression expression(QStringLiteral("(?:%1)(?!\\G)").arg(pattern),
                                        m_caseSensitive->isChecked()
                                            ? QRegularExpression::NoPatternOption
                                            : QRegularExpression::CaseInsensitiveOption);
    if (!expression.isValid()) {
        m_summary->setText(tr("The expression is not valid."));
        return;
    }
    int filesWithHits = 0;
    for (Kiln::ProjectFile *file : files) {
        const int hits = addHits(file, expression);
        m_hits += hits;
        filesWithHits += hits > 0 ? 1 : 0;
    }
    m_summary->setText(m_hits == 0 ? tr("Nothing found.")
                                   : tr("Hits: %1, files: %2").arg(m_hits).arg(filesWithHits));
}

void FindInFilesDock::clearResults()
{
    m_results->clear();
    m_summary->clear();
    m_hits = 0;
}

int FindInFilesDock::addHits(Kiln::ProjectFile *file, const QRegularExpression &expression)
{
    const QList<Kiln::ProjectFile::SearchResult> hits = file->search(expression);
    if (hits.isEmpty())
        return 0;
    auto *parent = new QTreeWidgetItem(m_results, {QFileInfo(file->fileName()).fileName()});
    parent->setToolTip(0, file->fileName());
    QFont bold = m_results->font();
    bold.setBold(true);
    parent->setFont(0, bold);
    for (const Kiln::ProjectFile::SearchResult &hit : hits) {
        auto *item =
            new QTreeWidgetItem(parent, {hit.text.simplified(), QString::number(hit.line + 1)});
        item->setTextAlignment(1, Qt::AlignRight);
        item->setData(0, fileRole, QVariant::fromValue<void *>(file));
        item->setData(0, lineRole, hit.line);
        item->setData(0, columnRole, hit.start);
    }
    parent->setExpanded(true);
    return hits.size();
}

void FindInFilesDock::activate(QTreeWidgetItem *item)
{
    auto *file = static_cast<Kiln::ProjectFile *>(item->data(0, fileRole).value<void *>());
    if (file) {
        emit placeActivated(file, item->data(0, lineRole).toInt(),
                            item->data(0, columnRole).toInt());
    }
}

} // namespace Studio
