#include <kilnx/code/messages.h>
#include <tests/code/plaincode.h>
#include <tests/support/modeltester.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

using namespace Kiln;

namespace
{
Plain::DocumentPointer documentOf(Plain::Parser &parser, const QString &text)
{
    Plain::DocumentPointer document(new Plain::Document(&parser));
    document->fromString(text);
    return document;
}

Messages *messagesOf(Plain::Document &document)
{
    return const_cast<Messages *>(document.messages());
}
} // namespace

/// Message sources, the list that joins them, and the messages of a code document.
class TestMessages : public QObject
{
    Q_OBJECT

private slots:
    void simpleSource()
    {
        SimpleMessages messages(nullptr);
        const ModelTester tester(&messages);
        messages.add(Message::Warning, QString("w"), 1, 2);
        messages.add(Message::Error, QString("e"), 3, 4);
        messages.add(Message::Warning, QString("w2"), 5, 6);
        messages.add(Message::All, QString("ignored"), 0, 0);
        QCOMPARE(messages.rowCount(), 3);
        QCOMPARE(messages.count(Message::Warning), 2u);
        QCOMPARE(messages.count(Message::Information), 0u);
        QCOMPARE(messages.at(1, Message::Warning).text, QString("w2"));
        QCOMPARE(messages.at(1, Message::All).column, 4);
        const Message none = messages.at(2, Message::Warning);
        QCOMPARE(none.type, Message::All);
        QVERIFY(none.text.isEmpty() && none.line == 0 && none.column == 0);
        QCOMPARE(messages.at(9, Message::All).type, Message::All);
        QCOMPARE(messages.index(1).data().toString(), QString("e"));
        const QModelIndex last = messages.index(2);
        messages.clear();
        QVERIFY(!messages.data(last, Qt::DisplayRole).isValid());
        QCOMPARE(messages.rowCount(), 0);
        QCOMPARE(messages.count(Message::Error), 0u);
    }

    void updatesAreBatched()
    {
        MessageList list(nullptr);
        SimpleMessages messages(nullptr);
        list.registerMessages(&messages);
        QSignalSpy updated(&list, &MessageList::updated);
        messages.clear();
        QCOMPARE(updated.count(), 0);
        messages.add(Message::Error, QString("a"), 0, 0);
        QCOMPARE(updated.count(), 1);
        messages.beginChange();
        messages.beginChange();
        messages.add(Message::Error, QString("b"), 0, 0);
        messages.clear();
        messages.endChange();
        QCOMPARE(updated.count(), 1);
        messages.endChange();
        QCOMPARE(updated.count(), 2);
        messages.endChange();
        messages.add(Message::Error, QString("c"), 0, 0);
        QCOMPARE(updated.count(), 3);
    }

    void listJoinsItsSources()
    {
        Plain::Parser parser;
        const Plain::DocumentPointer document = documentOf(parser, QString("! one\nx = 1\n~ two"));
        document->setFileName(QString("/tmp/place/hero.plain"));
        MessageList list(nullptr);
        const ModelTester tester(&list);
        SimpleMessages other(document.get());
        other.add(Message::Information, QString("note"), 7, 0);
        list.registerMessages(messagesOf(*document));
        list.registerMessages(&other);
        list.registerMessages(messagesOf(*document)); // it keeps its place
        list.registerMessages(nullptr);
        const QModelIndex last = other.index(0, 0);
        other.clear();
        QVERIFY(!other.data(last, Qt::DisplayRole).isValid());
        other.add(Message::Information, QString("note"), 7, 0);
        QCOMPARE(list.rowCount(), 3);
        QCOMPARE(list.columnCount(), 3);
        QCOMPARE(list.errorCount(), 1u);
        QCOMPARE(list.warningCount(), 1u);
        QCOMPARE(list.index(1, 0).data().toString(), QString("~ two"));
        QCOMPARE(list.index(1, 1).data().toString(), QString("hero.plain"));
        QCOMPARE(list.index(1, 2).data().toInt(), 3);
        QCOMPARE(list.index(2, 0).data().toString(), QString("note"));
        QVERIFY(!list.index(2, 0).data(Qt::ToolTipRole).isValid());
        const Messages *source = nullptr;
        QCOMPARE(list.messageAt(2, source).line, 7);
        QCOMPARE(source, &other);
        source = nullptr;
        QCOMPARE(list.messageAt(3, source).type, Message::All);
        QCOMPARE(list.messageAt(-1, source).type, Message::All);
        QCOMPARE(source, nullptr);
        QSignalSpy inserted(&list, &QAbstractItemModel::rowsInserted);
        list.unregisterMessages(messagesOf(*document));
        QCOMPARE(list.rowCount(), 1);
        QCOMPARE(inserted.count(), 1);
    }

    void listOutlivesOrIsOutlived()
    {
        SimpleMessages survivor(nullptr);
        {
            MessageList list(nullptr);
            list.registerMessages(&survivor);
            {
                Plain::Parser parser;
                const Plain::DocumentPointer document = documentOf(parser, QString("! one"));
                list.registerMessages(messagesOf(*document));
                QCOMPARE(list.rowCount(), 1);
            }
            QCOMPARE(list.rowCount(), 0);
            QCOMPARE(survivor.list(), &list);
        }
        QCOMPARE(survivor.list(), nullptr);
        survivor.add(Message::Error, QString("alone"), 0, 0);
        QCOMPARE(survivor.rowCount(), 1);
    }

    void icons()
    {
        // Without a host from the library's own pictures, with one by name.
        QVERIFY(!Message::icon(Message::Error).isNull());
        TestHost host;
        SimpleMessages messages(nullptr);
        messages.add(Message::Warning, QString("w"), 0, 0);
        const QIcon expected = host.icon(QString("warning"));
        const QIcon icon = messages.index(0).data(Qt::DecorationRole).value<QIcon>();
        QCOMPARE(icon.isNull(), expected.isNull());
        QCOMPARE(icon.pixmap(16).toImage(), expected.pixmap(16).toImage());
    }

    void documentMessages()
    {
        Plain::Parser parser;
        const Plain::DocumentPointer document =
            documentOf(parser, QString("! a\n~ b\nx = 1\n? c\n! d"));
        const Messages *const messages = document->messages();
        QCOMPARE(messages->file(), document.get());
        QCOMPARE(messages->count(Message::Error), 2u);
        QCOMPARE(messages->count(Message::Warning), 2u);
        QCOMPARE(messages->at(0, Message::Warning).text, QString("~ b"));
        QCOMPARE(messages->at(1, Message::Warning).line, 3);
        QCOMPARE(messages->at(1, Message::Error).line, 4);

        // A line that goes takes its messages with it at once, and the others move up.
        QSignalSpy removed(messages, &QAbstractItemModel::rowsRemoved);
        QTextCursor cursor(document->findBlockByNumber(1));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        document->beginChange();
        cursor.removeSelectedText();
        // Announced at the top of the list, where nothing has to be searched for.
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.at(0).mid(1), QVariantList({0, 0}));
        document->endChange();
        QCOMPARE(messages->count(Message::Warning), 1u);
        QCOMPARE(messages->at(0, Message::Warning).line, 2);
        document->undo();
        QCOMPARE(messages->count(Message::Warning), 2u);
        QCOMPARE(Plain::faults(*document), QStringList());

        document->setSyntaxHighlight(false);
        QCOMPARE(messages->count(Message::All), 0u);
        document->setSyntaxHighlight(true);
        QCOMPARE(messages->count(Message::All), 4u);
        document->setParser(nullptr);
        QCOMPARE(messages->count(Message::All), 0u);
    }

    /// Messages that the document adds from outside of the parse, and when it is told to.
    void remarks()
    {
        struct Remarking : Plain::Document {
            using Plain::Document::Document;
            void linesHighlighted(const QTextBlock &first, const QTextBlock &last) override
            {
                visits += QString("%1-%2 ").arg(first.blockNumber()).arg(last.blockNumber());
            }
            QString visits;
        };
        using Remark = CodeBlockData::SyntaxMessage;
        const auto texts = [](Plain::Document &document) {
            QStringList texts;
            for (unsigned int i = 0; i < document.messages()->count(Message::All); ++i)
                texts << document.messages()->at(i, Message::All).text;
            return texts.join(' ');
        };
        Plain::Parser parser;
        auto *const document = new Remarking(&parser);
        const Plain::DocumentPointer owner(document);
        document->fromString(QString("! one\nvalue\n! three\nvalue\n"));
        const QString parsed = texts(*document);
        MessageList list(nullptr);
        list.registerMessages(messagesOf(*document));
        QSignalSpy updated(&list, &MessageList::updated);
        const QTextBlock third = document->findBlockByNumber(2);
        document->setRemarks(third, {{Remark::Information, 0, 1, "x"}, {Remark::Error, 0, 1, "y"}});
        document->setRemarks(third, {{Remark::Information, 0, 1, "x"}, {Remark::Error, 0, 1, "y"}});
        document->setRemarks(document->findBlockByNumber(1), {});
        QCOMPARE(updated.count(), 1);
        QCOMPARE(texts(*document), parsed + QString(" x y"));
        QCOMPARE(document->messages()->count(Message::Information), 1u);
        document->setRemarks(third, {{Remark::Warning, 0, 1, "z"}});
        document->setRemarks(QTextBlock(), {{Remark::Warning, 0, 1, "nowhere"}});
        QCOMPARE(texts(*document), parsed + QString(" z"));
        document->visits.clear();
        QTextCursor(document->findBlockByNumber(1)).insertText(QString("a"));
        QCOMPARE(texts(*document), parsed + QString(" z"));
        QTextCursor(third).insertText(QString("! "));
        QCOMPARE(document->messages()->count(Message::Warning), 0u);
        QTextCursor cursor(document->findBlockByNumber(1));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, 2);
        cursor.removeSelectedText();
        document->rehighlight();
        QCOMPARE(document->visits, QString("1-1 2-2 1-1 0-2 "));
    }

    void oneEditIsOneUpdate()
    {
        Plain::Parser parser;
        const Plain::DocumentPointer document(new Plain::Document(&parser));
        MessageList list(nullptr);
        list.registerMessages(messagesOf(*document));
        QSignalSpy updated(&list, &MessageList::updated);
        document->fromString(QString("! a\n! b\n! c"));
        QCOMPARE(list.rowCount(), 3);
        QCOMPARE(updated.count(), 1);
        document->insert(QString("\n! d\n! e"));
        QCOMPARE(list.rowCount(), 5);
        QCOMPARE(updated.count(), 2);
    }
};

QTEST_MAIN(TestMessages)
#include "tst_messages.moc"
