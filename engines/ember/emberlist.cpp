#include "emberlist.h"

/// The commands of a bracket, which are done already when it is pushed.
class EmberHistory::Group : public QUndoCommand
{
public:
    explicit Group(Commands commands)
        : m_commands(std::move(commands))
    {
    }
    void redo() override
    {
        if (std::exchange(m_isDone, false))
            return;
        for (const auto &command : m_commands)
            command->redo();
    }
    void undo() override
    {
        for (auto command = m_commands.rbegin(); command != m_commands.rend(); ++command)
            (*command)->undo();
    }

private:
    const Commands m_commands;
    bool m_isDone = true;
};

void EmberHistory::add(QUndoCommand *command)
{
    if (m_starts.isEmpty()) {
        push(command);
        return;
    }
    std::unique_ptr<QUndoCommand> own(command);
    own->redo();
    const bool isFirst = int(m_open.size()) == m_starts.last();
    QUndoCommand *before = isFirst ? nullptr : m_open.back().get();
    const bool isMerged =
        before && own->id() != -1 && own->id() == before->id() && before->mergeWith(command);
    if (!isMerged)
        m_open.push_back(std::move(own));
}

void EmberHistory::endGroup()
{
    if (m_starts.isEmpty())
        return;
    m_starts.removeLast();
    if (m_starts.isEmpty() && !m_open.empty())
        push(new Group(std::exchange(m_open, Commands())));
}

void EmberHistory::cancelGroup()
{
    if (m_starts.isEmpty())
        return;
    const int start = m_starts.takeLast();
    while (int(m_open.size()) > start) {
        // Who hears of the last one asks whether the file is modified.
        const std::unique_ptr<QUndoCommand> command = std::move(m_open.back());
        m_open.pop_back();
        command->undo();
    }
}

void EmberHistory::forget()
{
    m_open.clear();
    m_starts.fill(0);
    clear();
    setClean(); // an emptied history stays modified when it was made so
}

void EmberHistory::undo()
{
    if (m_starts.isEmpty())
        QUndoStack::undo();
}

void EmberHistory::redo()
{
    if (m_starts.isEmpty())
        QUndoStack::redo();
}
