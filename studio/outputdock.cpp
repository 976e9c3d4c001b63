#include "outputdock.h"

#include <hostkit/theme.h>
#include <hostkit/widgets.h>

#include <QAction>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QIcon>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTime>
#include <QToolBar>

namespace Studio
{

using namespace HostKit;

namespace
{
constexpr int mostLines = 20000;
// Each piece that comes lays its whole line out anew, so one without an end is broken.
constexpr int longestLine = 1000;
} // namespace

OutputDock::OutputDock(const QList<QAction *> &commands, QWidget *parent)
    : QDockWidget(tr("Output"), parent)
    , m_text(named(new QPlainTextEdit(this), "output_text", tr("Output of the engine")))
{
    named(this, "dock_output");
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setUndoRedoEnabled(false);
    m_text->setMaximumBlockCount(mostLines);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setPlaceholderText(tr("Run the project in the engine to see what it prints."));

    auto *bar = named(new QToolBar(tr("Output"), this), "output_bar");
    bar->setOrientation(Qt::Vertical);
    bar->setIconSize(QSize(16, 16));
    bar->addActions(commands);
    auto *clear =
        bar->addAction(QIcon(QStringLiteral(":/kiln_icons/icons/clear.png")), tr("Clear"));
    clear->setObjectName(QStringLiteral("output_clear"));
    connect(clear, &QAction::triggered, m_text, &QPlainTextEdit::clear);

    auto *contents = new QWidget(this);
    auto *layout = new QHBoxLayout(contents);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(m_text, 1);
    setWidget(contents);
}

void OutputDock::begin(const QString &commandLine)
{
    const QString time = QTime::currentTime().toString(QStringLiteral("hh:mm:ss"));
    addLine(tr("— Run at %1: %2 —").arg(time, commandLine), false);
}

void OutputDock::write(const QString &text, bool isError)
{
    if (isError != m_lastIsError && !m_text->document()->lastBlock().text().isEmpty())
        append(QStringLiteral("\n"), QTextCharFormat());
    m_lastIsError = isError;
    append(inLines(QString(text).remove(QLatin1Char('\r'))),
           isError ? errorFormat() : QTextCharFormat());
}

/// The text with line feeds where it would make a line too long.
QString OutputDock::inLines(const QString &text) const
{
    QString lines;
    int length = m_text->document()->lastBlock().text().size();
    for (int from = 0; from < text.size();) {
        const int feed = text.indexOf(QLatin1Char('\n'), from);
        const int end = feed < 0 ? text.size() : feed + 1;
        const int room = qMax(0, longestLine - length);
        const bool fits = end - from <= room + (feed < 0 ? 0 : 1);
        const int next = fits ? end : from + room;
        lines += text.midRef(from, next - from);
        if (!fits)
            lines += QLatin1Char('\n');
        length = fits && feed < 0 ? length + next - from : 0;
        from = next;
    }
    return lines;
}

void OutputDock::end(const QString &how, bool isBad)
{
    addLine(tr("— %1 —").arg(how), isBad);
}

QString OutputDock::text() const
{
    return m_text->toPlainText();
}

void OutputDock::addLine(const QString &line, bool isBad)
{
    const bool isAtStart = m_text->document()->lastBlock().text().isEmpty();
    append((isAtStart ? QString() : QStringLiteral("\n")) + line + QLatin1Char('\n'),
           isBad ? errorFormat() : QTextCharFormat());
}

void OutputDock::append(const QString &text, const QTextCharFormat &format)
{
    QScrollBar *bar = m_text->verticalScrollBar();
    const bool follows = bar->value() == bar->maximum();
    QTextCursor cursor(m_text->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(text, format);
    if (follows)
        bar->setValue(bar->maximum());
}

QTextCharFormat OutputDock::errorFormat()
{
    QTextCharFormat format;
    format.setForeground(Theme::delivered(QStringLiteral("token2")));
    format.setFontItalic(true);
    return format;
}

} // namespace Studio
