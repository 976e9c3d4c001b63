#include <kilnx/codeedit/messagechoice_p.h>

#include <kilnx/code/codeblockdata.h>

#include <QtCore/QCoreApplication>
#include <QtGui/QTextBlock>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QPlainTextEdit>

namespace Kiln
{
namespace
{
QString tr(const char *text)
{
    return QCoreApplication::translate("Kiln::CodeWorkspace", text);
}
} // namespace

MessageChoice::MessageChoice(QComboBox *box, QPlainTextEdit *view)
    : m_box(box)
    , m_view(view)
{
    m_later.setSingleShot(true);
    QObject::connect(&m_later, &QTimer::timeout, &m_later, [this] { look(); });
    QObject::connect(view, &QPlainTextEdit::cursorPositionChanged, &m_later,
                     [this] { m_later.start(0); });
}

void MessageChoice::follow(const Messages *messages)
{
    m_connections = std::make_unique<QObject>();
    m_messages = messages;
    m_later.start(0);
    if (!messages)
        return;
    const auto later = [this] { m_later.start(0); };
    QObject::connect(messages, &Messages::rowsRemoved, m_connections.get(), later);
    QObject::connect(messages, &Messages::rowsInserted, m_connections.get(), later);
}

void MessageChoice::look()
{
    m_box->setPlaceholderText(summary());
    m_box->setCurrentIndex(rowAtCaret());
}

/// The last message of the caret's line that begins before it, or else the first one.
int MessageChoice::rowAtCaret() const
{
    const QTextCursor caret = m_view->textCursor();
    const CodeBlockData *data = CodeBlockData::testBlockData(caret.block());
    if (!m_messages || !data || data->syntaxMessages().isEmpty())
        return -1;
    int found = -1;
    for (int row = 0; row < m_box->count(); ++row) {
        const Message message = m_messages->at(unsigned(row), Message::All);
        if (message.line < caret.blockNumber())
            continue;
        if (message.line > caret.blockNumber() ||
            (found >= 0 && message.column > caret.positionInBlock()))
            break;
        found = row;
    }
    return found;
}

QString MessageChoice::summary() const
{
    static const struct {
        Message::Type type;
        const char *text;
    } kinds[] = {{Message::Error, QT_TRANSLATE_NOOP("Kiln::CodeWorkspace", "Errors: %1")},
                 {Message::Warning, QT_TRANSLATE_NOOP("Kiln::CodeWorkspace", "Warnings: %1")},
                 {Message::Information, QT_TRANSLATE_NOOP("Kiln::CodeWorkspace", "Hints: %1")}};
    QStringList parts;
    for (const auto &kind : kinds) {
        const unsigned int count = m_messages ? m_messages->count(kind.type) : 0;
        if (count > 0)
            parts.append(tr(kind.text).arg(count));
    }
    return parts.isEmpty() ? tr("No messages") : parts.join(QStringLiteral(", "));
}
} // namespace Kiln
