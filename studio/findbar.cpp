#include "findbar.h"

#include <hostkit/widgets.h>

#include <kilnx/project/editor.h>

#include <QCheckBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegExp>
#include <QToolButton>

namespace Studio
{

using namespace HostKit;

FindBar::FindBar(QWidget *parent)
    : QWidget(parent)
    , m_text(named(new QLineEdit(this), "find_text", tr("Text to find")))
    , m_replacement(named(new QLineEdit(this), "find_replacement", tr("Replacement")))
    , m_options{named(new QCheckBox(tr("Re&gular expression"), this), "find_regex"),
                named(new QCheckBox(tr("Match &case"), this), "find_case"),
                named(new QCheckBox(tr("Whole words"), this), "find_words")}
    , m_wrap(named(new QCheckBox(tr("&Wrap around"), this), "find_wrap"))
    , m_result(named(new QLabel(this), "find_result"))
{
    named(this, "find_bar", tr("Find and replace"));
    m_wrap->setChecked(true);
    m_text->setClearButtonEnabled(true);

    auto *findLabel = new QLabel(tr("Fi&nd:"), this);
    findLabel->setBuddy(m_text);
    auto *replaceLabel = new QLabel(tr("Replace:"), this);
    replaceLabel->setBuddy(m_replacement);
    auto *previous = named(new QPushButton(tr("Previo&us"), this), "find_previous");
    auto *next = named(new QPushButton(tr("Ne&xt"), this), "find_next");
    auto *replace = named(new QPushButton(tr("&Replace"), this), "find_replace_one");
    auto *replaceAll = named(new QPushButton(tr("Replace a&ll"), this), "find_replace_all");
    auto *close = named(new QToolButton(this), "find_close", tr("Close the find bar"));
    close->setIcon(QIcon(QStringLiteral(":/kiln_icons/icons/close.png")));
    close->setAutoRaise(true);
    close->setToolTip(tr("Close (Esc)"));

    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->addWidget(findLabel, 0, 0);
    layout->addWidget(m_text, 0, 1);
    layout->addWidget(previous, 0, 2);
    layout->addWidget(next, 0, 3);
    layout->addWidget(m_options.regularExpression, 0, 4);
    layout->addWidget(m_options.caseSensitive, 0, 5);
    layout->addWidget(m_options.wholeWords, 0, 6);
    layout->addWidget(close, 0, 7);
    layout->addWidget(replaceLabel, 1, 0);
    layout->addWidget(m_replacement, 1, 1);
    layout->addWidget(replace, 1, 2);
    layout->addWidget(replaceAll, 1, 3);
    layout->addWidget(m_wrap, 1, 4);
    layout->addWidget(m_result, 1, 5, 1, 3);
    layout->setColumnStretch(1, 1);

    connect(m_text, &QLineEdit::textChanged, this, &FindBar::tellSought);
    for (QCheckBox *box :
         {m_options.regularExpression, m_options.caseSensitive, m_options.wholeWords})
        connect(box, &QCheckBox::toggled, this, &FindBar::tellSought);
    connect(m_text, &QLineEdit::returnPressed, this, &FindBar::findNext);
    connect(m_replacement, &QLineEdit::returnPressed, this, &FindBar::replaceOne);
    connect(next, &QPushButton::clicked, this, &FindBar::findNext);
    connect(previous, &QPushButton::clicked, this, &FindBar::findPrevious);
    connect(replace, &QPushButton::clicked, this, &FindBar::replaceOne);
    connect(replaceAll, &QPushButton::clicked, this, &FindBar::replaceAll);
    connect(close, &QToolButton::clicked, this, &FindBar::dismiss);
}

void FindBar::start(const QString &text)
{
    if (!text.isEmpty())
        m_text->setText(text);
    show();
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
}

QString FindBar::text() const
{
    return m_text->text();
}

void FindBar::tell(const QString &result)
{
    m_result->setText(result);
}

void FindBar::showEvent(QShowEvent *)
{
    tellSought();
}

void FindBar::hideEvent(QHideEvent *)
{
    emit soughtChanged(QString(), 0);
}

void FindBar::tellSought()
{
    m_result->clear();
    if (isVisible())
        emit soughtChanged(isUsable() ? m_text->text() : QString(), flags());
}

/// Tells what is wrong with an expression that is not.
bool FindBar::isUsable()
{
    const QRegExp expression(m_text->text(), Qt::CaseSensitive, QRegExp::RegExp2);
    const bool isUsable = !m_options.regularExpression->isChecked() || expression.isValid();
    if (!isUsable)
        tell(tr("Bad expression: %1").arg(expression.errorString()));
    return isUsable;
}

void FindBar::findNext()
{
    if (isUsable())
        emit findRequested(m_text->text(), flags());
}

void FindBar::findPrevious()
{
    if (isUsable())
        emit findRequested(m_text->text(), flags() | Kiln::Editor::Backward);
}

void FindBar::replaceOne()
{
    if (isUsable())
        emit replaceRequested(m_text->text(), m_replacement->text(), flags(), false);
}

void FindBar::replaceAll()
{
    if (isUsable())
        emit replaceRequested(m_text->text(), m_replacement->text(), flags(), true);
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        dismiss();
    else
        QWidget::keyPressEvent(event);
}

unsigned int FindBar::flags() const
{
    return m_options.flags() | (m_wrap->isChecked() ? Kiln::Editor::WrapAround : 0U);
}

void FindBar::dismiss()
{
    hide();
    emit closed();
}

} // namespace Studio
