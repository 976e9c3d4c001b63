#include <kilnx/codeedit/messagechoice_p.h>

#include <QtWidgets/QComboBox>

namespace Kiln
{
MessageChoice::MessageChoice(QComboBox *box)
    : m_box(box)
{
}

void MessageChoice::follow(const Messages *messages)
{
    m_connections = std::make_unique<QObject>();
    m_messages = messages;
    m_row = -1;
    if (!messages)
        return;
    QObject *context = m_connections.get();
    QObject::connect(messages, &Messages::rowsAboutToBeRemoved, context, [this] { remember(); });
    QObject::connect(
        messages, &Messages::rowsRemoved, context,
        [this](const QModelIndex &, int first, int last) { findAfterRemoval(last - first + 1); });
    QObject::connect(
        messages, &Messages::rowsInserted, context,
        [this](const QModelIndex &, int first, int last) { findAmongNew(first, last); });
}

void MessageChoice::remember()
{
    m_row = m_box->currentIndex();
    if (m_row >= 0)
        m_chosen = m_messages->at(unsigned(m_row), Message::All);
}

/// What went stood above the chosen message, below it, or was it.
void MessageChoice::findAfterRemoval(int removed)
{
    for (const int row : {m_row - removed, m_row}) {
        if (row < 0)
            continue;
        const Message message = m_messages->at(unsigned(row), Message::All);
        if (message.line != m_chosen.line || message.column != m_chosen.column ||
            message.text != m_chosen.text)
            continue;
        m_box->setCurrentIndex(row);
        m_row = -1;
        return;
    }
}

/// Its line has been parsed: the message may be there as before, in another column.
void MessageChoice::findAmongNew(int first, int last)
{
    for (int row = first; m_row >= 0 && row <= last; ++row) {
        const Message message = m_messages->at(unsigned(row), Message::All);
        if (message.line != m_chosen.line || message.text != m_chosen.text)
            continue;
        m_box->setCurrentIndex(row);
        break;
    }
    m_row = -1;
}
} // namespace Kiln
