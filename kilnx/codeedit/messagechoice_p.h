#pragma once

#include <kilnx/project/messages.h>

#include <QtCore/QObject>

#include <memory>

class QComboBox;

namespace Kiln
{
/// Keeps the box of a document's messages on the one that is chosen in it. The messages of a line
/// go before it is parsed anew, and are announced as rows at the top of the list wherever they
/// stood: the box by itself would count its row from there.
class MessageChoice
{
public:
    explicit MessageChoice(QComboBox *box);

    /// Follows the messages that the box has just been given; null for none.
    void follow(const Messages *messages);

private:
    void remember();
    void findAfterRemoval(int removed);
    void findAmongNew(int first, int last);

    QComboBox *const m_box;
    const Messages *m_messages = nullptr;
    std::unique_ptr<QObject> m_connections;
    /// From the announcement of a removal until the message is found again, or the next rows come.
    Message m_chosen;
    int m_row = -1;
};
} // namespace Kiln
