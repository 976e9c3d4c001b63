#include <ember/embernodes.h>
#include <ember/emberparentproject.h>

#include <enginetest/treedump.h>
#include <kilnx/code/codeblockdata.h>
#include <kilnx/code/messages.h>
#include <kilnx/project/archive.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>

#include <memory>

namespace TreeDump = EngineTest::TreeDump;

/// What Ember's parser makes of lines, and what it keeps when they change.

class TestEmberParser : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host = std::make_unique<TestHost>();
        m_parent = EmberParentProject::create(
            m_directory.path(), Kiln::FileSystemArchive::instance(), EmberDocument::Character);
    }

    void cleanup()
    {
        m_parent->close();
        m_host.reset();
    }

    void keepsTheNode_data()
    {
        const auto row = columns<int, QString, int, bool>("changed", "text", "watched", "kept");
        row("another value", 1, "drift: 3, 4", 1, true);
        row("an unreadable value", 1, "drift: x", 1, true);
        row("a comment", 1, "drift: 0, 0 ; calm", 1, true);
        row("other blanks", 1, "\tdrift :0,0", 1, true);
        row("the old spelling of the same", 1, "velocity: 0, 0", 1, true);
        row("another entry", 1, "cost: 0", 1, false);
        row("an entry that nobody knows", 1, "drif: 0, 0", 1, false);
        row("a further key", 1, "drift + drift: 0, 0", 1, false);
        row("no entry any more", 1, "; drift: 0, 0", 1, false);
        row("the header's name", 0, "@state b", 0, true);
        row("the header's signs", 0, "@@state a", 0, true);
        row("another section", 0, "@@step a", 0, false);
        row("an entry below a renamed header", 0, "@state b", 1, true);
        row("a like entry below another header", 0, "@@step a", 1, false);
        row("the next section below another header", 0, "@@step a", 3, true);
        row("a line above", 1, "x", 2, true);
    }

    void keepsTheNode()
    {
        auto [changed, text, watched, kept] = row<int, QString, int, bool>();
        load(EmberDocument::States, "@state a\ndrift: 0, 0\ncost: 1\n@@step c\ncel: d");
        // Another node may be made where an old one was, so its own words tell them apart.
        Kiln::CodeNode *const before = m_document->nodeInBlock(line(watched));
        QVERIFY(before);
        rewrite(changed, text);
        QCOMPARE(m_document->nodeInBlock(line(watched)) == before && before->isValid(), kept);
    }

    void tellsChangedValues()
    {
        load(EmberDocument::States, "@state a\ndrift: 0, 0\ncost: 1");
        QAbstractItemModel *model = m_document->model();
        QSignalSpy changes(model, &QAbstractItemModel::dataChanged);
        QSignalSpy inserts(model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removes(model, &QAbstractItemModel::rowsRemoved);

        rewrite(2, "cost: 2");
        QCOMPARE(changes.count(), 1);
        const QModelIndex group = model->index(0, 0);
        QCOMPARE(changes.takeFirst().first().toModelIndex(), model->index(1, 0, group));
        QCOMPARE(model->index(1, 0, group).data().toString(), "cost: 2");

        rewrite(2, "cost:  2 ; the same");
        QCOMPARE(changes.count(), 0);

        rewrite(0, "@state other");
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.takeFirst().first().toModelIndex(), group);
        QCOMPARE(group.data().toString(), "state other");

        QCOMPARE(inserts.count(), 0);
        QCOMPARE(removes.count(), 0);
    }

    /// A header that changes its kind concerns its own section and nothing below.
    void reparsesTheSectionOnly()
    {
        load(EmberDocument::States, "@state a\ncel: x\nwhen: y\n@@on b\nwhen: z\n@@on c\nwhen: w");
        QCOMPARE(m_document->messages()->count(Kiln::Message::Warning), 1u);
        Kiln::CodeNode *const below = m_document->nodeInBlock(line(4));
        rewrite(0, "@@on a");
        QCOMPARE(TreeDump::rows(*m_document->model()),
                 "on a\n  cel: x\n  when: y\non b\n  when: z\non c\n  when: w\n");
        QCOMPARE(m_document->messages()->count(Kiln::Message::Warning), 1u);
        QCOMPARE(m_document->messages()->at(0, Kiln::Message::All).line, 1);
        QCOMPARE(m_document->nodeInBlock(line(4)), below);
    }

    void enablesSections()
    {
        load(EmberDocument::States, "@state a\n@sketch b\ncost: 1");
        QCOMPARE(TreeDump::rows(*m_document->model()), "state a\n");
        QVERIFY(!groupIn(1)->isShown());
        QVERIFY(!groupIn(1)->parent());
        m_document->enableGroups({EmberLanguage::Sketch});
        QCOMPARE(TreeDump::rows(*m_document->model()), "state a\nsketch b\n  cost: 1\n");
    }

    void settersRewriteTheLine_data()
    {
        const auto row =
            columns<QString, QString, QVariant, QString>("text", "property", "value", "expected");
        const char *v = "Value";
        row("plain", "  cel: a ; c", v, "b", "  cel: b ; c");
        row("quoted", "say: \"a\"", v, "it \"is\"; so\nthere", "say: \"it 'is', so there\"");
        row("words", "aim: a", v, "b c", "aim: b c");
        row("enum by number", "posture: lying ;x", v, 1u, "posture: crouching ;x");
        row("enum by word", "posture: lying", v, "airborne", "posture: airborne");
        row("int", "\tcost : 4", v, 12, "\tcost: 12");
        row("int from a real", "cost: 4", v, 12.0, "cost: 12");
        row("real", "pull: 1", v, 0.25, "pull: 0.25");
        row("point", "drift: 1, 2", v, QPointF(-1.5, 3), "drift: -1.5, 3");
        row("point from a list", "drift: 1, 2", v, QVariantList{4, 5.5}, "drift: 4, 5.5");
        row("list", "ticks: 1", v, QVariantList{1, 2, 3}, "ticks: 1, 2, 3");
        row("list from one number", "ticks: 1, 2", v, 6, "ticks: 6");
        row("box", "box: x", v, QVariantList{1, 2, 3, 4}, "box: 1, 2, 3, 4");
        row("text as it is", "drift: 1, 2", v, "3,  4", "drift: 3,  4");
        row("an entry that nobody knows", "x: 1", v, "2 ; 3", "x: 2 , 3");
        row("the old spelling goes", "velocity: 1, 2", v, QPointF(0, 0), "drift: 0, 0");
        row("the name", "  x: 1 ; c", "Name", "cost", "  cost: 1 ; c");
        row("an empty name is refused", "x: 1", "Name", "", "x: 1");
        row("the display name is read-only", "x: 1", "DisplayName", "y", "x: 1");
        row("all keys of a line stay", "cel + aim + say: a", v, "b", "cel + aim + say: a");
    }

    void settersRewriteTheLine()
    {
        auto [text, property, value] = row<QString, QString, QVariant>();
        load(EmberDocument::States, QString("@state a\n") + text + QString("\ncost: 1"));
        if (EmberValue *node = valueIn(1))
            node->setProperty(property, value);
        QTEST(line(1).text(), "expected");
        QCOMPARE(line(2).text(), "cost: 1");
    }

    void matesAnswerForTheirLine()
    {
        load(EmberDocument::States, "@@step a\n cel + spark: x ; c\nlasts: 2");
        auto *head = valueIn(1);
        auto *mate = dynamic_cast<EmberValue *>(head->next());
        QVERIFY(mate);
        QCOMPARE(mate->firstLine(), 1);
        QCOMPARE(mate->document(), m_document);

        mate->setValue("y");
        QCOMPARE(line(1).text(), " cel + spark: y ; c");
        QCOMPARE(valueIn(1), head);
        QCOMPARE(mate->value().toString(), "y");

        // The two stay one line when the section above them goes, and comes back.
        rewrite(0, "none");
        QCOMPARE(TreeDump::rows(*m_document->model()), QString());
        rewrite(0, "@@step b");
        QCOMPARE(TreeDump::rows(*m_document->model()),
                 "step b\n  cel: y\n  spark: y\n  lasts: 2\n");

        head = valueIn(1);
        mate = dynamic_cast<EmberValue *>(head->next());
        mate->setName("cel");
        QCOMPARE(line(1).text(), " cel + cel: y ; c");
        dynamic_cast<EmberValue *>(valueIn(1)->next())->remove(false);
        QCOMPARE(TreeDump::rows(*m_document->model()), "step b\n  lasts: 2\n");
    }

    void addsValues()
    {
        load(EmberDocument::States, "@state a\n  cost: 1\n\n@@on b\n@about");
        QVERIFY(groupIn(0)->addValue("drift", QPointF(1, 2)));
        QVERIFY(groupIn(4)->addValue("then", "a"));
        QVERIFY(!groupIn(0)->addValue("then", "a"));
        QCOMPARE(m_document->toPlainText(),
                 "@state a\n  cost: 1\n  drift: 1, 2\n\n@@on b\n    then: a\n@about");
        QCOMPARE(groupIn(0)->headerText(), "@state a");
        QCOMPARE(groupIn(4)->headerText(), "@@on b");
    }

    void recordsBrackets_data()
    {
        columns<QString, QString>("text", "brackets");
        addRow("all kinds", "when: (a[1]) and {b}", "(6[8]10)11{17}19");
        addRow("not in quotes", "say: \"(\" ; (", QString());
        addRow("not in comments", "when: (a ; )", "(6");
        addRow("unpaired ones too", "when: )(", ")6(7");
        addRow("in lines that make no node", "(a", "(0");
    }

    void recordsBrackets()
    {
        QFETCH(QString, text);
        load(EmberDocument::States, QString("@@on a\n") + text);
        QString found;
        const Kiln::CodeBlockData *data = Kiln::CodeBlockData::testBlockData(line(1));
        QVERIFY(data);
        for (const auto &bracket : data->parenthesis()) {
            const bool isOpen = QString("([{").contains(bracket.character);
            QCOMPARE(bracket.type == Kiln::CodeBlockData::Parenthesis::Open, isOpen);
            found += bracket.character + QString::number(bracket.position);
        }
        QTEST(found, "brackets");
    }

    void foldsBySection()
    {
        load(EmberDocument::States, "@state a\ncost: 1\n@state b\ncost: 2");
        QList<unsigned int> indents;
        for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next())
            indents.append(Kiln::CodeBlockData::testBlockData(block)->foldingIndent());
        QCOMPARE(indents, (QList<unsigned int>{0, 1, 0, 1}));
    }

    /// Without highlighting there is a tree, but neither paint nor messages nor brackets.
    void paintsNothingWhenToldSo()
    {
        load(EmberDocument::States, "@state a\ncost: (x");
        QCOMPARE(m_document->messages()->count(Kiln::Message::Error), 1u);
        m_document->setSyntaxHighlight(false);
        QCOMPARE(TreeDump::rows(*m_document->model()), "state a\n  cost: (x\n");
        QCOMPARE(m_document->messages()->count(Kiln::Message::All), 0u);
        QVERIFY(Kiln::CodeBlockData::testBlockData(line(1))->parenthesis().isEmpty());
    }

private:
    EmberDocument *load(EmberDocument::FileType type, const QString &text)
    {
        m_document = new EmberDocument(type);
        m_parent->openedProjects().first()->addFile(m_document, Kiln::Project::FileID::Code);
        m_document->fromString(text);
        return m_document;
    }

    QTextBlock line(int number) const { return m_document->findBlockByNumber(number); }
    EmberValue *valueIn(int number) const
    {
        return dynamic_cast<EmberValue *>(m_document->nodeInBlock(line(number)));
    }

    EmberGroup *groupIn(int number) const
    {
        return dynamic_cast<EmberGroup *>(m_document->nodeInBlock(line(number)));
    }

    /// Replaces a line's text as a view does.
    void rewrite(int number, const QString &text)
    {
        QTextCursor cursor(line(number));
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(text);
    }

    std::unique_ptr<TestHost> m_host;
    QTemporaryDir m_directory;
    EmberParentProject *m_parent = nullptr;
    EmberDocument *m_document = nullptr;
};

QTEST_MAIN(TestEmberParser)
#include "tst_emberparser.moc"
