#include <findbar.h>
#include <hostkit/flowlayout.h>
#include <hostkit/menus.h>
#include <hostkit/messagetable.h>
#include <hostkit/statusfields.h>
#include <outputdock.h>

#include <kilnx/project/messages.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

using namespace HostKit;
using namespace Studio;

// Parts of the window that need no project.

namespace
{

QStringList rowsOf(const QAbstractItemModel &model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.append(model.index(row, 0).data().toString());
    return rows;
}

} // namespace

class tst_studio_parts : public QObject
{
    Q_OBJECT

private slots:
    // Random changes in three lists, against the rows that a plain concatenation gives.
    void messageTableEqualsItsLists()
    {
        MessageTable table;
        QAbstractItemModelTester tester(&table);
        QSignalSpy counts(&table, &MessageTable::countsChanged);
        Kiln::MessageList lists[3] = {Kiln::MessageList(nullptr), Kiln::MessageList(nullptr),
                                      Kiln::MessageList(nullptr)};
        std::vector<std::unique_ptr<Kiln::SimpleMessages>> sources;
        for (int i = 0; i < 6; ++i) {
            sources.push_back(std::make_unique<Kiln::SimpleMessages>(nullptr));
            lists[i / 2].registerMessages(sources.back().get());
        }
        for (Kiln::MessageList &list : lists)
            table.addList(&list);
        QVector<QList<QPair<int, QString>>> oracle(6);
        QRandomGenerator random(20260301);
        for (int step = 0; step < 400; ++step) {
            const int source = random.bounded(6);
            if (random.bounded(8) == 0) {
                sources[source]->clear();
                oracle[source].clear();
            } else {
                const int type = random.bounded(3);
                const QString text = QString::number(step);
                sources[source]->add(Kiln::Message::Type(type), text, step, 0);
                oracle[source].append({type, text});
            }
            QStringList expected;
            int errors = 0;
            int warnings = 0;
            for (const auto &messages : qAsConst(oracle)) {
                for (const auto &message : messages) {
                    expected.append(message.second);
                    errors += message.first == Kiln::Message::Error;
                    warnings += message.first == Kiln::Message::Warning;
                }
            }
            QCOMPARE(rowsOf(table), expected);
            QCOMPARE(qMakePair(table.errorCount(), table.warningCount()),
                     qMakePair(errors, warnings));
            if (table.rowCount() > 0) {
                Kiln::ProjectFile *file = nullptr;
                const int row = random.bounded(table.rowCount());
                QCOMPARE(table.messageAt(row, file).text, expected[row]);
            }
        }
        QVERIFY(counts.count() > 100);
        Kiln::ProjectFile *file = nullptr;
        QCOMPARE(table.messageAt(-1, file).type, Kiln::Message::All);
        QCOMPARE(table.messageAt(table.rowCount(), file).type, Kiln::Message::All);
    }

    void messageTableOutlivesItsLists()
    {
        MessageTable table;
        QAbstractItemModelTester tester(&table);
        Kiln::SimpleMessages first(nullptr);
        Kiln::SimpleMessages second(nullptr);
        auto one = std::make_unique<Kiln::MessageList>(nullptr);
        auto other = std::make_unique<Kiln::MessageList>(nullptr);
        one->registerMessages(&first);
        other->registerMessages(&second);
        first.add(Kiln::Message::Error, "first", 1, 0);
        second.add(Kiln::Message::Warning, "second", 2, 0);
        table.addList(one.get());
        table.addList(other.get());
        const QPersistentModelIndex kept = table.index(1, 0);
        QVector<int> errors;
        connect(&table, &MessageTable::rowsAboutToBeRemoved, this,
                [&] { errors += table.errorCount() + table.warningCount(); });
        one.reset();
        QCOMPARE(errors, QVector<int>(1, 1));
        QCOMPARE(rowsOf(table), QStringList("second"));
        QCOMPARE(kept.row(), 0);
        QCOMPARE(table.index(0, 2).data().toInt(), 3);
        table.removeList(other.get());
        QCOMPARE(table.rowCount(), 0);
        second.add(Kiln::Message::Error, "not seen", 1, 0);
        QCOMPARE(table.rowCount(), 0);
    }

    void flowLayoutBreaksLines_data()
    {
        columns<int, int>("width", "lines");
        // Five boxes of 50 by 20 with 4 between them and 4 at the sides.
        addRow("all in one", 4 + 5 * 50 + 4 * 4 + 4, 1);
        addRow("one pixel less", 4 + 5 * 50 + 4 * 4 + 3, 2);
        addRow("two in a line", 4 + 2 * 50 + 4 + 4, 3);
        addRow("narrower than a box", 30, 5);
    }

    void flowLayoutBreaksLines()
    {
        auto [width, lines] = row<int, int>();
        QWidget parent;
        auto *layout = new FlowLayout(&parent, 4);
        QList<QWidget *> boxes;
        for (int i = 0; i < 6; ++i) {
            auto *box = new QWidget(&parent);
            box->setFixedSize(50, 20);
            box->setVisible(i != 2);
            if (i != 2)
                boxes.append(box);
            layout->addWidget(box);
        }
        const QMargins margins = layout->contentsMargins();
        const int height = layout->heightForWidth(width);
        QCOMPARE(height, margins.top() + lines * 20 + (lines - 1) * 4 + margins.bottom());
        layout->setGeometry(QRect(0, 0, width, height));
        QSet<int> tops;
        for (int i = 0; i < boxes.size(); ++i) {
            tops.insert(boxes[i]->y());
            QVERIFY(boxes[i]->x() >= margins.left());
            for (int j = 0; j < i; ++j)
                QVERIFY(!boxes[i]->geometry().intersects(boxes[j]->geometry()));
        }
        QCOMPARE(tops.size(), lines);
    }

    void findBarTellsWhatIsChecked()
    {
        FindBar bar;
        QSignalSpy find(&bar, &FindBar::findRequested);
        QSignalSpy closed(&bar, &FindBar::closed);
        bar.start("text");
        bar.start(QString());
        auto *next = bar.findChild<QPushButton *>("find_next");
        next->click();
        for (const char *box : {"find_wrap", "find_regex", "find_case", "find_words"}) {
            bar.findChild<QCheckBox *>(box)->toggle();
            next->click();
        }
        bar.findChild<QPushButton *>("find_previous")->click();
        QVector<uint> flags;
        for (const QVariantList &asked : qAsConst(find)) {
            QCOMPARE(asked[0].toString(), QString("text"));
            flags << asked[1].toUInt();
        }
        QCOMPARE(flags, (QVector<uint>{8, 0, 1, 3, 35, 39}));
        QTest::keyClick(&bar, Qt::Key_Escape);
        QVERIFY(!bar.isVisible());
        QCOMPARE(closed.count(), 1);
    }

    void statusFieldsComeAndGo()
    {
        StatusFields status;
        status.setField(2, "Encoding: UTF-8");
        status.setField(-1, "no");
        status.setField(1000000, "no");
        QCOMPARE(status.field(2), "Encoding: UTF-8");
        QCOMPARE(status.field(0), QString());
        QCOMPARE(status.field(1000000), QString());
        auto *button = status.findChild<QToolButton *>("status_field_2");
        status.resize(600, 24);
        status.show();
        for (const bool isLong : {false, true, false}) {
            status.tell(isLong ? QString(150, 'm') : QString("short"));
            QCOMPARE(button->isHidden(), isLong);
            status.clearMessage();
            QVERIFY(!button->isHidden());
        }
        status.setField(2, QString());
        QVERIFY(button->isHidden());
    }

    void menusAreMadeWhenAskedFor()
    {
        QMenuBar bar;
        Menus menus(&bar);
        QMenu *fresh = menus.menu("code_snippets");
        QCOMPARE(fresh->title().remove('&'), "Code snippets");
        QCOMPARE(menus.menu("code_snippets"), fresh);
        const int place = bar.actions().indexOf(fresh->menuAction());
        QVERIFY(place > bar.actions().indexOf(menus.menu("view")->menuAction()));
        QVERIFY(place < bar.actions().indexOf(menus.menu("help")->menuAction()));
        QVERIFY(!fresh->menuAction()->isVisible());
        QAction *something = fresh->addAction("Something");
        QVERIFY(fresh->menuAction()->isVisible());
        something->setVisible(false);
        QVERIFY(!fresh->menuAction()->isVisible());
        // When it opens, each command has a letter of its own, a word's first if one is left.
        fresh->clear();
        for (const char *text : {"Change image...", "Crop", "&Close", "Paste", "s s", "&&", "Hop"})
            fresh->addAction(text);
        fresh->addMenu("Image")->addAction("Image");
        QStringList shown;
        emit fresh->aboutToShow();
        for (const QAction *action : fresh->actions())
            shown << action->text();
        QCOMPARE(shown.join('|'), "Change &image...|C&rop|&Close|&Paste|&s s|&&|&Hop|I&mage");
        QCOMPARE(fresh->actions().last()->menu()->actions()[0]->text(), "&Image");
    }

    /// A line without an end is broken: each piece of it would lay out all of it.
    void outputHasLines()
    {
        OutputDock output({});
        const QString longText = QString(2500, 'x') + "\r\ny\n";
        for (int i = 0; i < longText.size(); i += 700)
            output.write(longText.mid(i, 700), false);
        output.write(QString(1000, 'z') + '\n' + QString(1001, 'z'), false);
        QList<int> lengths;
        for (const QString &line : output.text().split('\n'))
            lengths.append(line.size());
        QCOMPARE(lengths, (QList<int>{1000, 1000, 500, 1, 1000, 1000, 1}));
    }

    // Qt fades the clear buttons of line edits, and ends such an animation only in the event loop.
    void cleanupTestCase() { QTest::qWait(300); }
};

QTEST_MAIN(tst_studio_parts)
#include "tst_studio_parts.moc"
