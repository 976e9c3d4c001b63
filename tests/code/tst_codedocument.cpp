#include <enginetest/modelmirror.h>
#include <enginetest/randomrun.h>
#include <kilnx/code/messages.h>
#include <tests/code/plaincode.h>
#include <tests/support/modeltester.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <algorithm>

using namespace Kiln;

namespace
{

/// Notes what a document tells it.
class RecordingEditor : public CodeDocumentEditor
{
public:
    explicit RecordingEditor(QStringList &log)
        : log(log)
    {
    }

    void insertChild(CodeNode *node, unsigned int index) override
    {
        nodes.insert(int(index), node);
        log << QString("insert %1").arg(index);
    }
    void removeChild(CodeNode *node) override
    {
        log << QString("remove %1").arg(nodes.indexOf(node));
        nodes.removeOne(node);
    }
    void childChanged(CodeNode *node) override
    {
        log << QString("change %1").arg(nodes.indexOf(node));
    }
    void release() override
    {
        log << QString("release");
        delete this;
    }
    bool isEmpty() const override { return nodes.isEmpty(); }
    QList<SearchResult> search(const QRegularExpression &) override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}

    QStringList &log;
    QList<CodeNode *> nodes;

protected:
    Messages *fileMessages() const override { return nullptr; }
};

/// Whether a line opens one of the sections that a document enables, 0 to 3.
bool isHeader(const QString &line)
{
    const QString code = line.section(QLatin1Char(';'), 0, 0).trimmed();
    const QString name = code.mid(1, code.indexOf(QLatin1Char(']')) - 1);
    const bool hasNumber = name.contains(QLatin1Char(':'));
    return code.startsWith(QLatin1Char('[')) &&
           (!hasNumber || name.section(QLatin1Char(':'), 1).toUInt() <= 3);
}

const EngineTest::LineMaker lines{isHeader,
                                  {"[run:1]\nx = 1\nz + w = 4\n",
                                   " [inner:3]\n! fault\ny = 2, 3 ; c\n; comment\n[off:9]\nx = 1\n",
                                   "t = word (a)\n\n[stand:2] ; c\n~ old\n",
                                   "[zero:0]\na = 1.5\n? odd\n\n"},
                                  {"[run:1]", "[stand:2] ; c", " [inner:3]", "[off:9]", "[zero:0]"},
                                  {"x = 1", "y = 2, 3 ; c", "z + w = 4", "t = word (a)", "! fault",
                                   "~ old", "? odd", "; comment", "", "a = 1.5", "  "},
                                  "[]:=123x+;! ~?()\n\n",
                                  {"1", "2, 3", "word", "two\nlines", "a ; b"},
                                  {"n1", "x", "[y]", ""},
                                  {"(\\w)(\\w*)", "= *(\\w+)"},
                                  {"= 1", "[%1", "x"}};

} // namespace

/// The document in steps that are told one by one, and at random.
class TestCodeDocument : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        parser = std::make_unique<Plain::Parser>();
        document.reset(new Plain::Document(parser.get()));
    }

    void cleanup()
    {
        if (document)
            QCOMPARE(Plain::faults(*document), QStringList());
        document.reset();
    }

    void keepsNodesOfUnchangedMeaning()
    {
        setText("[a]\nx = 1\ny = 2");
        CodeNode *const x = node(1);
        QSignalSpy inserted(document->model(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(document->model(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy changed(document->model(), &QAbstractItemModel::dataChanged);
        type(1, 5, QString("2"));
        QCOMPARE(node(1), x);
        QCOMPARE(static_cast<ValueCode *>(x)->asInt(), 12);
        QCOMPARE(inserted.count() + removed.count(), 0);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toModelIndex(), document->index(0, 0, document->index(0, 0)));

        type(1, 6, QString(".5"));
        QVERIFY(static_cast<ValueCode *>(node(1))->valueType() == ValueCode::Real);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(removed.count(), 1);
        document->undo();
        QCOMPARE(static_cast<ValueCode *>(node(1))->asInt(), 1);
        document->redo();
        QCOMPARE(static_cast<ValueCode *>(node(1))->asReal(), 12.5);
    }

    void treeInsideABracket()
    {
        setText("[a]\nx = 1");
        document->beginChange();
        QVERIFY(document->isCodeBeingChanged());
        document->insertAfter(node(1), QString("y = 2\n! z"), true);
        QCOMPARE(name(2), QString("y"));
        CodeNode *const y = node(2);
        QCOMPARE(parser->quietCalls, 3);
        QCOMPARE(document->messages()->count(Message::Error), 0u);
        document->insertBefore(node(2), QString("[b:2]"), true);
        QCOMPARE(y->parent(), node(2));
        y->remove(false);
        QVERIFY(!y->isValid());
        document->endChange();
        QVERIFY(!document->isCodeBeingChanged());
        QCOMPARE(document->toString(), QString("[a]\nx = 1\n[b:2]\n! z"));
        QCOMPARE(document->messages()->count(Message::Error), 1u);
        document->undo();
        QCOMPARE(document->toString(), QString("[a]\nx = 1"));

        document->setOption(QString("parseCode"), false, false, false);
        document->beginChange();
        document->insertAfter(node(1), QString("y = 2"), true);
        QCOMPARE(node(2), nullptr);
        document->endChange();
        QVERIFY(node(2));
        document->endChange();
        QVERIFY(!document->isCodeBeingChanged());
    }

    void continuesAChange()
    {
        setText("[a]\nx = 1");
        const QString before = document->toString();
        const auto write = [this](const char *line) {
            document->insertAfter(node(1), QString(line), true);
        };
        document->beginChange();
        write("a = 1");
        document->endChange();
        document->continueChange();
        write("b = 2");
        document->endChange();
        document->undo();
        QCOMPARE(document->toString(), before);
        // In a bracket, and where something else was written, it is like any other.
        document->beginChange();
        document->continueChange();
        write("a = 1");
        document->endChange();
        QVERIFY(document->isCodeBeingChanged());
        document->endChange();
        QVERIFY(!document->isCodeBeingChanged());
        document->cursor().insertText("; typed\n");
        const QString typed = document->toString();
        document->continueChange();
        write("b = 2");
        document->endChange();
        document->undo();
        QCOMPARE(document->toString(), typed);
        // Only a change that has just been written is dropped, and without a trace.
        for (const bool isEmpty : {false, true}) {
            document->beginChange();
            if (!isEmpty)
                write("c = 3");
            document->dropChange(); // it is still open
            document->endChange();
            document->dropChange();
            QCOMPARE(document->toString(), typed);
            QVERIFY(isEmpty || !document->isRedoAvailable());
        }
        write("c = 3");
        document->dropChange();
        QVERIFY(document->toString() != typed);
    }

    void insertAround_data()
    {
        columns<int, bool, bool, QString>("line", "after", "ownLine", "result");
        addRow("below the line", 0, true, true, "[a]\nNEW\nx = 1\n[b]\ny = 2");
        addRow("below the section", 0, true, false, "[a]\nx = 1\nNEW\n[b]\ny = 2");
        addRow("below the last section", 2, true, false, "[a]\nx = 1\n[b]\ny = 2\nNEW");
        addRow("at the end", -1, true, false, "[a]\nx = 1\n[b]\ny = 2NEW\n");
        addRow("above the first line", 0, false, true, "NEW\n[a]\nx = 1\n[b]\ny = 2");
        addRow("above a line", 3, false, true, "[a]\nx = 1\n[b]\nNEW\ny = 2");
        addRow("at the start", -1, false, false, "NEW\n[a]\nx = 1\n[b]\ny = 2");
    }

    void insertAround()
    {
        const auto [line, after, ownLine, result] = row<int, bool, bool, QString>();
        setText("[a]\nx = 1\n[b]\ny = 2");
        const CodeNode *const place = line < 0 ? nullptr : node(line);
        if (after)
            document->insertAfter(place, QString("NEW"), ownLine);
        else
            document->insertBefore(place, QString("NEW"), ownLine);
        QCOMPARE(document->toString(), result);
        QVERIFY(document->isModified());
    }

    void cursorsOfOtherTextsAreRefused()
    {
        setText("[a]");
        QTextDocument other("other");
        document->insertOnCursor(QString("x"), QTextCursor(&other));
        document->insertOnCursor(QString("x"), QTextCursor());
        QCOMPARE(other.toPlainText(), QString("other"));
        QCOMPARE(document->toString(), QString("[a]"));
    }

    void nodesOfOtherLinesAreRefused()
    {
        struct Straying : CodeParser {
            Plain::Parser plain;
            CodeNode *parse(const QString &text,
                            CodeNode *old,
                            CodeNode *previous,
                            RootCode *root,
                            CodeParserSyntax *syntax) override
            {
                if (text == "previous")
                    return previous;
                return text == "root" ? root : plain.parse(text, old, previous, root, syntax);
            }
        } parser;
        document->setParser(&parser);
        for (const int line : {3, 4}) {
            const QString told = QString("CodeParser::parse() gave line %1 a node of another line: "
                                         "it gets none");
            QTest::ignoreMessage(QtWarningMsg, qPrintable(told.arg(line)));
        }
        setText("[a]\nx = 1\nprevious\nroot\ny = 1");
        QVERIFY(node(1) && !node(2) && !node(3) && node(4));
        document->setParser(nullptr);
    }

    void insertAroundOddNodes()
    {
        // The second node of a line stands on the line of the first.
        setText("[a]\ny + z = 1\n[b]");
        const CodeNode *const second = static_cast<Plain::Value *>(node(1))->partner;
        document->insertAfter(second, QString("p = 1"), true);
        document->insertAfter(second, QString("q = 1"), false);
        document->insertBefore(second, QString("r = 1"), true);
        document->insertBefore(second, QString("s = 1"), false);
        QCOMPARE(document->toString(), QString("[a]\nr = 1\ns = 1\ny + z = 1\nq = 1\np = 1\n[b]"));
        QAbstractItemModel *const model = document->model();
        QCOMPARE(document->lineNo(model->index(3, 0, model->index(0, 0))), 3);
        // The document stands on none, and a node that has gone stands nowhere.
        const CodeNode *const gone = node(6);
        document->fromString(QString());
        document->insertAfter(gone, QString("lost"), true);
        document->insertBefore(gone, QString("lost"), false);
        QVERIFY(document->isEmpty());
        document->insertBefore(document.get(), QString("x = 1"), false);
        document->insertAfter(document.get(), QString("y = 1"), false);
        QCOMPARE(document->toString(), QString("x = 1\n\ny = 1"));
    }

    /// No engine tells here what a comment is.
    void changesTheWholeLine()
    {
        setText("[a]\nx = 1 ; note\nz = 1");
        node(1)->change(QString("x = 5"));
        node(2)->change(QString("zz = 3"));
        QCOMPARE(document->toString(), QString("[a]\nx = 5\nzz = 3"));
    }

    void lineZeroAndLastLine()
    {
        setText("[a]\nx = 1\n; c\n[b]\ny = 1");
        QCOMPARE(node(0)->firstLine(), 0);
        QCOMPARE(node(0)->lastLine(), 2);
        QCOMPARE(node(3)->lastLine(), document->blockCount());
        QCOMPARE(node(1)->lastLine(), 1);
        QCOMPARE(node(2), nullptr);
        QCOMPARE(document->document(), document.get());
        QCOMPARE(node(1)->document(), document.get());
        // The document itself is no line of text.
        document->remove(true);
        document->change(QString("x"));
        QCOMPARE(document->blockCount(), 5);
    }

    void selections()
    {
        setText("[a]\nx = 1\n[b]\ny = 1");
        QCOMPARE(node(1)->select().selectedText(),
                 QString("x = 1") + QChar(QChar::ParagraphSeparator));
        QCOMPARE(node(3)->select().selectedText(), QString("y = 1"));
        static_cast<GroupCode *>(node(2))->removeValue(0);
        QCOMPARE(document->toString(), QString("[a]\nx = 1\n[b]\n"));
        static_cast<GroupCode *>(node(2))->removeValue(0);
        node(0)->remove(true);
        QCOMPARE(document->toString(), QString("[b]\n"));
    }

    void indexInLine()
    {
        setText("; c\n[a]\nx = 1\n\ny + z = 1\n[b]\n; c");
        QAbstractItemModel *const model = document->model();
        const QModelIndex a = model->index(0, 0);
        QCOMPARE(document->indexInLine(0), QModelIndex());
        QCOMPARE(document->indexInLine(1), a);
        QCOMPARE(document->indexInLine(2), model->index(0, 0, a));
        QCOMPARE(document->indexInLine(3), a);
        QCOMPARE(document->indexInLine(4), model->index(1, 0, a));
        QCOMPARE(document->indexInLine(6), model->index(1, 0));
        QCOMPARE(document->indexInLine(99), model->index(1, 0));
        QCOMPARE(document->lineNo(model->index(1, 0, a)), 4);
        QCOMPARE(document->lineNo(QModelIndex()), 0);
    }

    void reparseOfASection()
    {
        document->fromString(Plain::sampleText(5000, 100));
        QTextCursor cursor(document->firstBlock());
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        parser->calls = 0;
        cursor.insertText(QString("[head:3]"));
        // The section, and the header below it, whose state is the same as before.
        QCOMPARE(parser->calls, 101);
        parser->calls = 0;
        type(2501, 4, QString("1"));
        QCOMPARE(parser->calls, 1);
    }

    void farFromOtherNodes()
    {
        // The way to the node above goes over many lines without one, and over many nodes.
        QString text = QString("[a]\nx = 1\n") + QString("; c\n").repeated(300) + QString("[b]\n") +
                       QString("y = 1\n").repeated(300);
        document->fromString(text);
        type(200, 0, QString("z = 1 "));
        QCOMPARE(node(200)->parent(), node(0));
        QCOMPARE(node(200)->previous(), node(1));
        type(580, 0, QString("[c:2]"));
        QCOMPARE(document->childIndex(node(580)), 2);
        QCOMPARE(Plain::faults(*document), QStringList());
        QTextCursor cursor(document->findBlockByNumber(302));
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(static_cast<GroupCode *>(node(0))->valueCount(), 2u + 277u);
    }

    void options()
    {
        setText("[a]\nx = 1");
        QCOMPARE(document->rowCount(), 1);
        document->setOption(QString("modelCode"), false, false, false);
        QSignalSpy inserted(document->model(), &QAbstractItemModel::rowsInserted);
        QCOMPARE(document->rowCount(), 0);
        document->insert(QString("\n[b]"));
        QCOMPARE(int(document->childCount()), 2);
        QCOMPARE(inserted.count(), 0);
        document->setOption(QString("modelCode"), true, false, false);
        QCOMPARE(document->rowCount(), 2);

        QSignalSpy resets(document->model(), &QAbstractItemModel::modelReset);
        document->setParser(parser.get());
        document->setSyntaxHighlight(true);
        QCOMPARE(resets.count(), 0); // nothing is new
        QVERIFY(!document->firstBlock().layout()->formats().isEmpty());
        document->setSyntaxHighlight(false);
        QVERIFY(document->firstBlock().layout()->formats().isEmpty());
        QCOMPARE(document->rowCount(), 2);
        QVERIFY(!document->hasSyntaxHighlight());

        inserted.clear();
        document->setParser(nullptr);
        QCOMPARE(document->rowCount(), 0);
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(document->next(), nullptr);
        document->insert(QString("\n[c]"));
        QCOMPARE(document->next(), nullptr);
    }

    void enabledGroups()
    {
        QVERIFY(document->groupEnabled(0));
        QVERIFY(document->groupEnabled(2));
        QVERIFY(!document->groupEnabled(9));
        setText("[a:9]\nx = 1\n[b:1]\ny = 1");
        QCOMPARE(node(0), nullptr);
        QCOMPARE(node(1)->parent(), nullptr);
        document->enableGroups({9});
        QCOMPARE(node(1)->parent(), node(0));
        QCOMPARE(document->rowCount(), 2);
        document->setOption(QString("parseCode"), false, false, false);
        QVERIFY(!document->groupEnabled(9));
        QVERIFY(!document->groupEnabled(0));
    }

    void documentEditors()
    {
        setText("[a:1]\n[b:2]\n[c:1]");
        log.clear();
        auto *const editor = new RecordingEditor(log);
        document->registerDocumentEditor(editor, CodeNode::Group, 1);
        editor->nodes = {node(0), node(2)};
        QCOMPARE(document->documentEditor(CodeNode::Group, 1), editor);
        QCOMPARE(document->documentEditor(CodeNode::Group, 2), nullptr);
        document->insertBefore(node(2), QString("[d:1]"), true);
        document->insertBefore(node(0), QString("[e:2]"), true);
        type(1, 1, QString("q"));
        node(3)->remove(true);
        // A node that has come is told once more when it is complete.
        QCOMPARE(log, (QStringList{"insert 1", "change 1", "change 0", "remove 1"}));
        log.clear();
        document->registerDocumentEditor(editor, CodeNode::Group, 3);
        document.reset();
        QCOMPARE(log, QStringList{"release"});

        document.reset(new Plain::Document(parser.get()));
        auto *const lost = new RecordingEditor(log);
        document->registerDocumentEditor(lost, CodeNode::Group, 1);
        document->registerDocumentEditor(nullptr, CodeNode::Group, 2);
        document->unregisterDocumentEditor(lost);
        document->unregisterDocumentEditor(lost);
        log.clear();
        setText("[a]");
        document.reset();
        QCOMPARE(log, QStringList());
        lost->release();
    }

    /// Groups of one number are counted over those of another and over what else stands between.
    void documentEditorsCountOverOthers()
    {
        setText("[a:1]\nx = 1\nframe\n[b:2]\nframe\n[c:1]\n");
        log.clear();
        auto *const editor = new RecordingEditor(log);
        document->registerDocumentEditor(editor, CodeNode::Group, 1);
        editor->nodes = {node(0), node(5)};
        document->insertAfter(node(4), QString("[d:1]"), true);
        document->insert(QString("[e:1]"));
        node(0)->remove(false);
        QCOMPARE(log.join(", "), QString("insert 1, change 1, insert 3, change 3, remove 0"));
    }

    void rowsOfAReset()
    {
        EngineTest::ModelMirror mirror(document->model());
        setText("[a]\nx = 1\n[b]");
        const QString rows = mirror.text();
        QCOMPARE(rows, QString("a\n  x\nb\n"));
        for (const bool parses : {false, true}) {
            parses ? document->reparse() : document->rehighlight();
            QCOMPARE(mirror.fault(), QString());
            QCOMPARE(mirror.text(), rows);
        }
        document->reset();
        QCOMPARE(mirror.text(), QString());
        QVERIFY(!document->isModified());
    }

    void search()
    {
        setText("[a]\nx = 12\ny = 3");
        auto results = document->search(QRegularExpression(QString("(\\w) = (\\d+)")));
        QCOMPARE(results.size(), 2);
        QCOMPARE(results.at(0).line, 1u);
        QCOMPARE(results.at(0).start, 0u);
        QCOMPARE(results.at(0).length, 6u);
        QCOMPARE(results.at(0).text, QString("x = 12"));
        QCOMPARE(results.at(0).captured, (QStringList{"x", "12"}));
        results = document->search(QRegularExpression(QString("12\ny")));
        QCOMPARE(results.size(), 1);
        QCOMPARE(results.at(0).line, 1u);
        QCOMPARE(results.at(0).start, 4u);
        QCOMPARE(results.at(0).length, 4u);
        QCOMPARE(results.at(0).text, QString("x = 12y"));
        QCOMPARE(document->search(QRegularExpression(QString("q*"))).size(),
                 document->characterCount());
        QCOMPARE(document->search(QRegularExpression(QString("("))).size(), 0);
        QCOMPARE(document->search(QRegularExpression(QString("nowhere"))).size(), 0);
    }

    void replace_data()
    {
        columns<QString, QString, QString>("pattern", "text", "result");
        addRow("plain", "\\d", "7", "a = 7\nb = 7 7");
        addRow("longer", "= ", "=== ", "a === 1\nb === 2 3");
        addRow("over lines", "1\nb", "", "a =  = 2 3");
        addRow("the second capture", "(\\w) = (\\d)", "%1;", "1;\n2; 3");
        addRow("one capture fills nothing", "(\\d)", "<%1>", "a = <%1>\nb = <%1> <%1>");
        addRow("a marker that a capture brings stays", "(.) (=) (.)", "%2%1", "1=\n2= 3");
        addRow("empty matches", "^", "-", "-a = 1\nb = 2 3");
    }

    void replace()
    {
        const auto [pattern, text, result] = row<QString, QString, QString>();
        setText("a = 1\nb = 2 3");
        const auto found = document->search(QRegularExpression(pattern));
        document->replace(found, text);
        QCOMPARE(document->toString(), result);
        QVERIFY(!document->isCodeBeingChanged());
        document->undo();
        QCOMPARE(document->toString(), QString("a = 1\nb = 2 3"));
        ProjectFile::SearchResult stranger;
        stranger.line = 99;
        stranger.length = 5;
        document->replace({stranger}, text);
        stranger.line = 1;
        stranger.start = 6;
        document->replace({stranger}, text);
        stranger.start = 0;
        stranger.length = 8; // one more than there is
        document->replace({stranger}, text);
        QCOMPARE(document->toString(), QString("a = 1\nb = 2 3"));
        // A place that the replacement after it took away.
        stranger.start = 0;
        stranger.length = 7;
        document->replace({stranger, stranger}, QString("x"));
        QCOMPARE(document->toString(), QString("a = 1\nx"));
        // Within a bracket the tree follows at once, on lines with one match and with several.
        setText("[a]\nx = 1\ny = 1\n;\nx = 1, 1");
        document->beginChange();
        document->replace(document->search(QRegularExpression("1")), QString("5"));
        for (const int line : {1, 2})
            QCOMPARE(static_cast<ValueCode *>(node(line))->rawValue().toInt(), 5);
        QCOMPARE(static_cast<ValueCode *>(node(4))->asPoint(), QPoint(5, 5));
        document->endChange();
    }

    void tokensAndFormats()
    {
        setText("x = 1 ; c\n! bad\n; only\n(a) ; (");
        const auto formats = document->firstBlock().layout()->formats();
        QCOMPARE(formats.size(), 3);
        QCOMPARE(formats.at(0).format.fontWeight(), int(QFont::Bold));
        QCOMPARE(formats.at(0).format.fontStyleHint(), QFont::Monospace); // where "Courier" is none
        QCOMPARE(formats.at(1).format.foreground().color(), QColor(255, 128, 0));
        QVERIFY(formats.at(2).format.fontItalic());
        QCOMPARE(formats.at(2).format.foreground().color(), QColor(Qt::gray));
        const auto error = document->findBlockByNumber(1).layout()->formats().at(0).format;
        QCOMPARE(error.underlineStyle(), QTextCharFormat::SpellCheckUnderline);
        QCOMPARE(error.underlineColor(), QColor(Qt::red));
        QCOMPARE(error.foreground().color(), QColor(Qt::red));

        const auto parsed = [this](int line) {
            return CodeBlockData::testBlockData(document->findBlockByNumber(line))->isParsed();
        };
        QVERIFY(parsed(0) && parsed(1) && !parsed(2));
        type(2, 0, QString("x = 1"));
        QVERIFY(parsed(2));
        document->undo();
        QVERIFY(parsed(2));
        const auto brackets =
            CodeBlockData::testBlockData(document->findBlockByNumber(3))->parenthesis();
        QCOMPARE(brackets.size(), 2);
        QCOMPARE(brackets.at(1).position, 2);
        QCOMPARE(brackets.at(1).type, int(CodeBlockData::Parenthesis::Close));

        const QTextCharFormat before = CodeDocument::syntaxFormat(CodeParserSyntax::Name);
        QTextCharFormat green = before;
        green.setForeground(Qt::green);
        CodeDocument::setSyntaxFormat(CodeParserSyntax::Name, green);
        QCOMPARE(document->firstBlock().layout()->formats().at(0).format, before);
        document->rehighlight();
        QCOMPARE(document->firstBlock().layout()->formats().at(0).format, green);
        CodeDocument::setSyntaxFormat(CodeParserSyntax::Name, before);
        CodeDocument::setSyntaxFormat(CodeParserSyntax::TokenType(10), green);
    }

    /// The line of an input method's text has its colours while it is composed and when it is given
    /// up.
    void compositionKeepsColours()
    {
        setText("x = 1\n! fault");
        QPlainTextEdit view;
        view.setDocument(document.get());
        QTextLayout *const layout = document->lastBlock().layout();
        const QVector<QTextLayout::FormatRange> before = layout->formats();
        view.moveCursor(QTextCursor::End);
        for (const QString &text : {QString("ab"), QString("abc"), QString()}) {
            QTextCharFormat underlined;
            underlined.setFontUnderline(true);
            QInputMethodEvent event(
                text, {{QInputMethodEvent::TextFormat, 0, text.size(), QVariant(underlined)}});
            QCoreApplication::sendEvent(&view, &event);
            QCOMPARE(layout->preeditAreaText(), text);
            // The line's colours reach over the text that is composed in them.
            const auto reaches = [&before](const QTextLayout::FormatRange &range) {
                return range.start <= before.first().start &&
                       range.length >= before.first().length &&
                       range.format == before.first().format;
            };
            const auto formats = layout->formats();
            QVERIFY(std::any_of(formats.cbegin(), formats.cend(), reaches));
        }
        QCOMPARE(layout->formats(), before);
        QCOMPARE(document->messages()->count(Message::Error), 1u);
    }

    void foldingIndent_data()
    {
        columns<QString, QString>("text", "indents"); // a digit a line
        addRow("sections", "[a]\nx=1\ny=2\n[b]\nz=1", "01101");
        addRow("inner sections", "[a]\nx=1\n [i]\ny=2\n [j]\nz=1\n[b]\nz=1", "01010101");
        addRow("plain lines between", "[a]\n;\nx=1\n;\n;\ny=2\n;\n [i]\n;\n [j]\n;\n[b]",
               "011111111100");
        addRow("plain below a head, at the end", "[a]\n;\n;", "000");
        addRow("plain below an inner head", "[a]\n [i]\n;\n [j]\n;\n;", "000000");
        addRow("values without a section", ";\nx=1\n;\n [i]\nx=1", "00001");
        addRow("empty", "", "0");
    }

    void foldingIndent()
    {
        const auto [text, indents] = row<QString, QString>();
        document->fromString(text);
        QString found;
        for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
            found += QString::number(CodeBlockData::testBlockData(block)->foldingIndent());
        QCOMPARE(found, indents);
        document->highlighted = 0;
        document->rehighlight();
        QCOMPARE(document->highlighted, document->blockCount());
    }

    /// The layout keeps the shapes of the line that is typed in. The sanitizers see it if it still
    /// holds a line that went with the text.
    void linesThatWereTypedInGo()
    {
        for (const int line : {1, 150, 299}) {
            document->fromString(QString("speed: 1\n").repeated(300));
            for (int key = 0; key < 3; ++key)
                QTextCursor(document->findBlockByNumber(line)).insertText(QString("a"));
            document->fromString(QString("speed: 2"));
            QTextCursor(document->firstBlock()).insertText(QString("a"));
            QCOMPARE(document->toPlainText(), QString("aspeed: 2"));
        }
    }

    void randomSteps_data()
    {
        columns<quint32, bool>("seed", "highlight");
        for (quint32 seed = 1; seed <= 8; ++seed)
            QTest::addRow("seed %u", seed) << seed << (seed % 4 != 0);
    }

    /// After each edit, of every kind, the document must be what a fresh one makes of the same
    /// text, and every rule between text, tree, rows and messages must hold.
    void randomSteps()
    {
        const auto [seed, highlight] = row<quint32, bool>();
        const auto make = [&, seed = seed, highlight = highlight] {
            auto *made = new Plain::Document(parser.get());
            made->setDetail(seed % 3 == 0 ? CodeDocument::WithNodes : CodeDocument::WithColors);
            made->setOption(QString("highlightCode"), highlight, false, false);
            return made;
        };
        document.reset(make());
        const ModelTester tester(document->model());
        document->fromString(Plain::sampleText(16, 5));
        const auto rules = [&] { return Plain::faults(*document).join('\n'); };
        const EngineTest::RandomRun run{seed, 300, seed % 2 == 0, rules};
        QCOMPARE(EngineTest::runEdits(*document, make, lines, run), QString());
    }

private:
    void setText(const char *text) { document->fromString(QString::fromUtf8(text)); }
    CodeNode *node(int line) { return document->nodeInBlock(document->findBlockByNumber(line)); }
    QString name(int line) { return dynamic_cast<NamedCode *>(node(line))->name(); }
    void type(int line, int column, const QString &text)
    {
        QTextCursor cursor(document->findBlockByNumber(line));
        cursor.setPosition(cursor.position() + column);
        cursor.insertText(text);
    }

    QStringList log; // of the editors, which the document ends
    std::unique_ptr<Plain::Parser> parser;
    Plain::DocumentPointer document;
};

QTEST_MAIN(TestCodeDocument)
#include "tst_codedocument.moc"
