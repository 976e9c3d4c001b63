#pragma once

#include <kilnx/project/messages.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <memory>

class QComboBox;
class QPlainTextEdit;

namespace Kiln
{
/// Keeps the box of a document's messages on the one at the caret. In a line without any, the box
/// tells how many there are of each kind.
class MessageChoice
{
public:
    MessageChoice(QComboBox *box, QPlainTextEdit *view);

    /// Follows the messages that the box has just been given; null for none.
    void follow(const Messages *messages);
    /// Looks again, as after another language was chosen.
    void look();

private:
    int rowAtCaret() const;
    QString summary() const;

    QComboBox *const m_box;
    QPlainTextEdit *const m_view;
    QPointer<const Messages> m_messages;
    std::unique_ptr<QObject> m_connections;
    QTimer m_later; ///< once for all that a key brings
};
} // namespace Kiln
