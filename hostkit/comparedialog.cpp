#include <hostkit/comparedialog.h>

#include <hostkit/textcompare.h>
#include <hostkit/widgets.h>

#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace HostKit
{

CompareDialog::CompareDialog(const QString &name,
                             const QString &head,
                             const QString &remarkTitle,
                             const QVector<File> &files,
                             const Texts &texts,
                             QWidget *parent)
    : QDialog(parent)
    , m_texts(texts)
    , m_list(new QTreeWidget)
    , m_view(new CompareView)
    , m_buttons(new QDialogButtonBox)
{
    setObjectName(name + QLatin1String("_dialog"));
    named(m_list, qPrintable(name + QLatin1String("_files")), tr("Files"));
    named(m_view, qPrintable(name + QLatin1String("_compare")), tr("Differences"));
    auto *told = new QLabel(head);
    told->setWordWrap(true);
    m_list->setHeaderLabels({tr("File"), remarkTitle});
    m_list->setRootIsDecorated(false);
    m_list->setTextElideMode(Qt::ElideMiddle);
    for (const File &file : files) {
        auto *item = new QTreeWidgetItem(m_list, {file.name, file.remark});
        item->setCheckState(0, file.isMarked ? Qt::Checked : Qt::Unchecked);
        item->setToolTip(0, QDir::toNativeSeparators(file.fileName));
    }
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    auto *splitter = new QSplitter;
    splitter->addWidget(m_list);
    splitter->addWidget(m_view);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({320, 500});

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(told);
    layout->addWidget(splitter, 1);
    layout->addWidget(m_buttons);
    resize(840, 440);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &CompareDialog::compare);
    connect(m_list, &QTreeWidget::itemChanged, this, &CompareDialog::marksChanged);
}

QPushButton *CompareDialog::addButton(const QString &text,
                                      const char *name,
                                      QDialogButtonBox::ButtonRole role,
                                      int answer)
{
    auto *button = named(m_buttons->addButton(text, role), name);
    if (answer >= 0)
        connect(button, &QPushButton::clicked, this, [this, answer] { done(answer); });
    return button;
}

void CompareDialog::showFile(int file)
{
    m_list->setCurrentItem(m_list->topLevelItem(file));
}

int CompareDialog::currentFile() const
{
    return m_list->indexOfTopLevelItem(m_list->currentItem());
}

bool CompareDialog::isMarked(int file) const
{
    return m_list->topLevelItem(file)->checkState(0) == Qt::Checked;
}

void CompareDialog::compare()
{
    const QPair<QString, QString> texts = m_texts(currentFile());
    m_view->compare(texts.first, texts.second);
}

} // namespace HostKit
