#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QAbstractTableModel>
#include <QtCore/QList>
#include <QtGui/QIcon>

namespace Kiln
{
class MessageList;
class Project;
class ProjectFile;

/// One problem of a file. `line` and `column` count from 0.
struct KILNX_EXPORT Message {
    enum Type {
        Error = 0,
        Warning = 1,
        Information = 2,
        All = 3 ///< as a filter; also the type of the empty message
    };

    /// The icon of a type, from the host if there is one. What is neither warning nor information
    /// has the icon of an error.
    static QIcon icon(Type type);

    Type type = All;
    int line = 0;
    int column = 0;
    QString text;
};

/// The messages of one file, as a list model. A project's MessageList shows those of all its files.
class KILNX_EXPORT Messages : public QAbstractListModel
{
    Q_OBJECT

public:
    ~Messages() override;

    /// The file that the messages are about; may be null.
    virtual ProjectFile *file() const = 0;
    /// The number of messages of `type`.
    virtual unsigned int count(Message::Type type) const = 0;
    /// The `index`-th message of `type`; the empty message past the end.
    virtual Message at(unsigned int index, Message::Type type) const = 0;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /// The list that shows these messages, null if they are registered with none.
    MessageList *list() const { return m_list; }

protected:
    explicit Messages(QObject *parent = nullptr);

    /// Tells the list that the messages changed.
    void notifyUpdate();

private:
    friend class MessageList;
    MessageList *m_list = nullptr;
};

/// Messages that are simply added and cleared, for files that are not code.
class KILNX_EXPORT SimpleMessages : public Messages
{
    Q_OBJECT

public:
    explicit SimpleMessages(ProjectFile *file, QObject *parent = nullptr);
    ~SimpleMessages() override;

    /// Appends a message; `type` is an error, a warning or an information, others are ignored.
    void add(Message::Type type, const QString &text, unsigned int line, unsigned int column);
    void clear();
    /// Between these two the list is not told; endChange() tells it once.
    void beginChange();
    void endChange();

    ProjectFile *file() const override;
    unsigned int count(Message::Type type) const override;
    Message at(unsigned int index, Message::Type type) const override;

private:
    void changed();

    ProjectFile *m_file;
    QList<Message *> m_messages;
    int m_counts[3] = {0, 0, 0};
    int m_changeDepth = 0;
};

/// The messages of all files of a project, one after the other, as a table of text, file and line.
/// It holds no copies; each update() drops the rows and announces them anew. Defined in
/// messages_list.cpp.
class KILNX_EXPORT MessageList : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit MessageList(Project *project, QObject *parent = nullptr);
    ~MessageList() override;

    /// Adds a source, which stays the caller's and leaves by itself when it is destroyed.
    void registerMessages(Messages *messages);
    void unregisterMessages(Messages *messages);
    /// Counts anew and announces all rows anew. Sources call it.
    void update();

    Project *project() const { return m_project; }
    unsigned int errorCount() const { return m_errorCount; }
    unsigned int warningCount() const { return m_warningCount; }
    /// The message in `row` and the source that has it; the empty message and an untouched `source`
    /// for a bad row.
    Message messageAt(int row, const Messages *&source) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// "Message", "File" and "Line", translated, above the columns.
    QVariant
    headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void updated();

private:
    Project *m_project;
    QList<Messages *> m_sources;
    unsigned int m_errorCount = 0;
    unsigned int m_warningCount = 0;
    unsigned int m_informationCount = 0;
    unsigned int m_rowCount = 0;
    Message::Type m_filter = Message::All;
};
} // namespace Kiln
