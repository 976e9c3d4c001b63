#include <ember/emberanimations.h>
#include <ember/emberdocument.h>
#include <tests/support/modeltester.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/told.h>

#include <kilnx/editors/organizer.h>
#include <kilnx/project/organizable.h>
#include <kilnx/project/translator.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

using namespace Kiln;

namespace
{

/// A list of words that announces its moves as a list should, and notes what it was asked.
class WordList : public OrganizableObject
{
public:
    explicit WordList(const QStringList &items)
        : words(items)
    {
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : words.size();
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        return role == Qt::DisplayRole ? words.value(index.row()) : QVariant();
    }

    void move(unsigned int from, unsigned int to) override
    {
        log << QString("%1>%2").arg(from).arg(to);
        beginMoveRows({}, int(from), int(from), {}, int(to) + (from < to ? 1 : 0));
        words.move(int(from), int(to));
        endMoveRows();
    }

    void beginChange() override
    {
        ++open;
        log << QString("[");
    }

    void endChange() override
    {
        --open;
        log << QString("]");
    }

    void remove(unsigned int index) override
    {
        log << QString("-%1").arg(index);
        beginRemoveRows({}, int(index), int(index));
        words.removeAt(int(index));
        endRemoveRows();
    }

    void append(const QString &word)
    {
        beginInsertRows({}, words.size(), words.size());
        words << word;
        endInsertRows();
    }

    void autoOrganize() override
    {
        log << QString("auto");
        beginResetModel();
        words.sort();
        endResetModel();
    }

    QStringList words;
    QStringList log;
    int open = 0;
};

QStringList letters(int count)
{
    QStringList words;
    for (int i = 0; i < count; ++i)
        words << QString(QChar('a' + i));
    return words;
}

using RowList = QVector<int>;

/// The host, the panel and a list of letters in it, shown in a real window.
struct Panel {
    explicit Panel(int count)
        : list(letters(count))
        , editor(new OrganizerEditor)
    {
        host.options.insert(QString("show_organizer"), true);
        view = qobject_cast<QListView *>(host.control(QString("org_list")));
        editor->setObject(&list);
        editor->activate();
        list.log.clear();
    }

    ~Panel()
    {
        editor->setObject(nullptr);
        editor->release();
    }

    void show()
    {
        host.mainWindow()->show();
        view->setGeometry(0, 0, 200, 300);
        view->show();
        view->raise();
        QVERIFY(QTest::qWaitForWindowExposed(host.mainWindow()));
    }

    /// One row at a time, in this order, as with the control key held down.
    void select(const RowList &rows)
    {
        view->selectionModel()->clear();
        for (int row : rows)
            view->selectionModel()->select(view->model()->index(row, 0),
                                           QItemSelectionModel::Select);
    }

    RowList selected() const
    {
        RowList rows;
        for (const QModelIndex &index : view->selectionModel()->selectedRows())
            rows << index.row();
        std::sort(rows.begin(), rows.end());
        return rows;
    }

    QString text() const { return list.words.join(QString()); }

    TestHost host;
    WordList list;
    OrganizerEditor *editor;
    QListView *view = nullptr;
};

/// Counts the keys that reach a widget.
class KeyCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::KeyPress;
        return false;
    }
    int count = 0;
};

QMimeData *dragOf(const QAbstractItemModel &list, const RowList &rows)
{
    QModelIndexList indexes;
    for (int row : rows)
        indexes << list.index(row, 0);
    return list.mimeData(indexes);
}

/// What a drop leaves, found without moving anything: the dragged rows as one block, last one
/// first, in the gap that the drop names, but rows that are in their place already stay.
QStringList afterDrop(QStringList words, RowList rows, int row)
{
    std::sort(rows.begin(), rows.end());
    const int count = words.size();
    // The gap is kept as the word that stands behind it, so that it needs no arithmetic.
    QVector<QString> pending;
    for (int r : rows)
        pending << words.at(r);
    int gap = qBound(0, row, count);
    while (!pending.isEmpty()) {
        const QString word = pending.takeLast();
        const int from = words.indexOf(word);
        if (from == gap)
            continue;
        words.insert(gap, QString("|"));
        words.removeOne(word);
        words.replace(words.indexOf(QString("|")), word);
        if (from > gap)
            ++gap;
    }
    return words;
}

const char *const moveActions[] = {"org_up",   "org_up_10",   "org_top",
                                   "org_down", "org_down_10", "org_bottom"};

/// What a button leaves: the selected words leave the list and come back side by side.
/// Empty where the button does nothing.
QStringList afterMove(QStringList words, RowList rows, int action)
{
    std::sort(rows.begin(), rows.end());
    if (rows.isEmpty())
        return {};
    QStringList taken;
    for (int row : rows)
        taken << words.at(row);
    const int end = words.size() - 1;
    const int upTarget[] = {rows.first() - 1, qMax(rows.first() - 10, 0), 0};
    const int downTarget[] = {rows.last() + 1, qMin(rows.last() + 10, end), end};
    const int first = action < 3 ? upTarget[action] : downTarget[action - 3] - taken.size() + 1;
    if (first < 0 || first + taken.size() > words.size())
        return {};
    for (const QString &word : taken)
        words.removeOne(word);
    for (int i = 0; i < taken.size(); ++i)
        words.insert(first + i, taken.at(i));
    return words;
}

/// A file of animations, each with a comment, a box and a frame.
class AnimationFile
{
public:
    void fill(const QStringList &names) { document->fromString(lines(names).join('\n') + "\n"); }

    QStringList names() const
    {
        QStringList names;
        for (AnimationCode *animation : document->animations()->animations())
            names << animation->name();
        return names;
    }

    /// What is wrong with list, model rows and text if these animations should be there.
    QString fault(const QStringList &expected) const
    {
        QStringList rows;
        for (int row = 0; row < document->animations()->rowCount(); ++row)
            rows << document->animations()->index(row).data().toString();
        const QStringList text = document->toPlainText().split('\n', Qt::SkipEmptyParts);
        if (names() == expected && rows == expected && text == lines(expected))
            return QString();
        return QString("should be %1, is %2, rows %3, text\n%4")
            .arg(expected.join(' '), names().join(' '), rows.join(' '), document->toPlainText());
    }

    const std::unique_ptr<EmberDocument, Release> document{
        new EmberDocument(EmberDocument::Animations)};

private:
    static QStringList lines(const QStringList &names)
    {
        QStringList lines;
        for (const QString &name : names)
            lines << "; " + name << "@animation " + name << "body: 1, 2, 3, 4"
                  << "frame: " + name;
        return lines;
    }
};

} // namespace

Q_DECLARE_METATYPE(RowList)

class OrganizerTest : public QObject
{
    Q_OBJECT

private slots:
    void flagsAndActions()
    {
        WordList list(letters(3));
        WordList other(letters(3));
        QCOMPARE(int(list.flags(list.index(2))), 0xA5);
        QCOMPARE(int(list.flags(QModelIndex())), 8);
        QCOMPARE(int(list.flags(other.index(1))), 8);
        const QModelIndex gone = list.index(2);
        list.remove(2);
        QCOMPARE(int(list.flags(gone)), 8);
        QCOMPARE(list.supportedDragActions(), Qt::DropActions(Qt::MoveAction));
        QCOMPARE(list.supportedDropActions(), Qt::DropActions(Qt::MoveAction));
    }

    void drop_data()
    {
        const auto add = columns<RowList, int, QString, QString>("rows", "row", "log", "words");
        add("one row down, past the gap that it leaves", {1}, 5, "[ 1>4 ]", "acdebfgh");
        add("one row up", {5}, 2, "[ 5>2 ]", "abfcdegh");
        add("below itself", {3}, 4, "[ ]", "abcdefgh");
        add("above itself", {3}, 3, "[ ]", "abcdefgh");
        add("-1 is the top", {4}, -1, "[ 4>0 ]", "eabcdfgh");
        add("past the end is the last row", {4}, 8, "[ 4>7 ]", "abcdfghe");
        add("several from above the gap", {0, 2}, 6, "[ 2>5 0>5 ]", "bdefcagh");
        add("several from below the gap", {4, 6}, 1, "[ 6>1 5>2 ]", "agebcdfh");
        add("both sides", {1, 2, 5, 7}, 4, "[ 7>4 6>5 2>5 1>5 ]", "adhfcbeg");
        add("a row at the gap and one behind it", {4, 6}, 4, "[ 6>4 ]", "abcdgefh");
        add("in any order of the data", {7, 1, 5, 2}, 4, "[ 7>4 6>5 2>5 1>5 ]", "adhfcbeg");
    }

    void drop()
    {
        auto [rows, gap] = row<RowList, int>();
        WordList list(letters(8));
        const ModelTester checker(&list);
        const QScopedPointer<QMimeData> data(dragOf(list, rows));
        QVERIFY(!list.dropMimeData(data.data(), Qt::MoveAction, gap, 0, {}));
        QTEST(list.log.join(' '), "log");
        QTEST(list.words.join(QString()), "words");
    }

    void refusedDrops()
    {
        WordList list(letters(4));
        const QScopedPointer<QMimeData> data(dragOf(list, {2}));
        QVERIFY(!list.dropMimeData(nullptr, Qt::MoveAction, 0, 0, {}));
        QVERIFY(!list.dropMimeData(data.data(), Qt::CopyAction, 0, 0, {}));
        QVERIFY(!list.dropMimeData(data.data(), Qt::IgnoreAction, 0, 0, {}));
        QMimeData text;
        text.setText(QString("2"));
        QVERIFY(!list.dropMimeData(&text, Qt::MoveAction, 0, 0, {}));
        QVERIFY(list.log.isEmpty());

        WordList empty({});
        QVERIFY(!empty.dropMimeData(data.data(), Qt::MoveAction, 0, 0, {}));
        QVERIFY(empty.log.isEmpty());
    }

    /// Every shortened form of a good drag, rows that the list doesn't have, and rows named twice.
    void damagedDrops()
    {
        WordList source(letters(9));
        const QScopedPointer<QMimeData> good(dragOf(source, {1, 3, 6}));
        const QString format = source.mimeTypes().constFirst();
        const QByteArray bytes = good->data(format);
        for (int size = 0; size < bytes.size(); ++size) {
            WordList list(letters(9));
            QMimeData cut;
            cut.setData(format, bytes.left(size));
            list.dropMimeData(&cut, Qt::MoveAction, 0, 0, {});
            QStringList sorted = list.words;
            sorted.sort();
            QCOMPARE(sorted, letters(9));
            QCOMPARE(list.open, 0);
        }

        WordList small(letters(4));
        QMimeData twice;
        twice.setData(format, bytes + bytes);
        small.dropMimeData(&twice, Qt::MoveAction, 0, 0, {});
        QCOMPARE(small.log.join(' '), QString("[ 3>0 2>1 ]"));
    }

    void controls()
    {
        Panel panel(2);
        QVERIFY(panel.view);
        QCOMPARE(QString(panel.editor->name()), QString("organizer"));
        QCOMPARE(panel.editor->displayName(), QString("Organizer"));
        QCOMPARE(told(*panel.view, "accessibleName movement defaultDropAction dragDropMode "
                                   "selectionBehavior dragDropOverwriteMode dragEnabled "
                                   "acceptDrops"),
                 QString("Organizer Snap MoveAction InternalMove SelectRows false true true"));
        QVERIFY(panel.editor->isActive() && !panel.editor->isModified());
        const QList<QPair<const char *, int>> keys{
            {"org_up", 166},  {"org_down", 167},   {"org_up_10", 168}, {"org_down_10", 169},
            {"org_top", 170}, {"org_bottom", 171}, {"org_auto", 172}};
        QStringList declared = panel.host.log.filter(QString("addControl"));
        QStringList expected{QString("addControl org_list")};
        for (const auto &key : keys) {
            expected << QString("addControl ") + key.first;
            QCOMPARE(panel.host.action(key.first)->text(),
                     KilnTranslator::instance()->text(key.second));
            QVERIFY(panel.host.action(key.first)->isEnabled());
        }
        QCOMPARE(declared, expected);
        panel.editor->setObject(nullptr);
        for (const auto &key : keys)
            QVERIFY(!panel.host.action(key.first)->isEnabled());
        // What the host has destroyed is missed by nobody.
        delete panel.view;
        panel.editor->setObject(&panel.list);
        panel.editor->activate();
        panel.editor->retranslate();
        panel.editor->setCurrentRow(panel.list.index(1));
        QVERIFY(panel.editor->selectedRows().isEmpty());
    }

    /// What has been moved out of sight is followed.
    void scrolls()
    {
        Panel panel(50);
        panel.view->resize(200, 100);
        for (const char *action : {"org_bottom", "org_top"}) {
            panel.select({25});
            panel.host.action(action)->trigger();
            const QModelIndex moved = panel.list.index(panel.selected().constFirst());
            const QRect sight = panel.view->viewport()->rect();
            QVERIFY2(sight.contains(panel.view->visualRect(moved)), action);
        }
    }

    void auto_()
    {
        Panel panel(3);
        panel.list.words = QStringList{"c", "a", "b"};
        QSignalSpy changed(panel.editor, &OrganizerEditor::changed);
        panel.host.action("org_auto")->trigger();
        QCOMPARE(panel.text(), QString("abc"));
        QCOMPARE(changed.count(), 1);
        panel.editor->setObject(nullptr);
        panel.editor->moveAuto();
        panel.editor->moveTop();
        QCOMPARE(changed.count(), 1);
    }

    void deleteKey()
    {
        Panel panel(6);
        // A list leaves the key to the widget that it is in.
        KeyCounter keys;
        panel.view->parentWidget()->installEventFilter(&keys);
        QSignalSpy changed(panel.editor, &OrganizerEditor::changed);
        panel.select({4, 1, 2});
        panel.host.dialogs().expectBox(QMessageBox::No);
        QTest::keyClick(panel.view, Qt::Key_Delete);
        QCOMPARE(panel.text(), QString("abcdef"));
        QCOMPARE(changed.count(), 0);
        QCOMPARE(keys.count, 1);
        QCOMPARE(panel.host.dialogs().seen().size(), 1);
        const DialogScript::Seen box = panel.host.dialogs().seen().constFirst();
        QCOMPARE(box.title, QString("Delete"));
        QCOMPARE(box.text, QString("Do you really want to delete the selected item(s)?"));
        QCOMPARE(box.defaultButton, QMessageBox::Yes);

        panel.host.dialogs().expectBox(QMessageBox::Yes);
        QTest::keyClick(panel.view, Qt::Key_Delete);
        QCOMPARE(panel.text(), QString("adf"));
        QCOMPARE(panel.list.log.join(' '), QString("[ -4 -2 -1 ]"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(keys.count, 1);

        panel.view->selectionModel()->clear();
        QTest::keyClick(panel.view, Qt::Key_Delete);
        QCOMPARE(keys.count, 2);
        QCOMPARE(panel.host.dialogs().finish(), QString());
    }

    /// The panel is there only if option, object and rows say so, and never hides another one.
    void shown()
    {
        Panel panel(1);
        QCOMPARE(panel.host.shownExtraEditor, panel.editor);
        panel.editor->setObject(nullptr);
        QVERIFY(!panel.host.shownExtraEditor);

        panel.host.options.insert(QString("show_organizer"), false);
        panel.editor->setObject(&panel.list);
        QVERIFY(!panel.host.shownExtraEditor);
        panel.host.options.insert(QString("show_organizer"), true);
        panel.editor->reconfig();
        QCOMPARE(panel.host.shownExtraEditor, panel.editor);

        panel.list.remove(0);
        QVERIFY(!panel.host.shownExtraEditor);
        QVERIFY(!panel.host.action("org_up")->isEnabled());
        panel.editor->setObject(&panel.list);
        QVERIFY(!panel.host.shownExtraEditor);

        WordList other({});
        OrganizerEditor *second = new OrganizerEditor;
        panel.host.shownExtraEditor = second;
        panel.editor->setObject(&other);
        other.append(QString("x"));
        QCOMPARE(panel.host.shownExtraEditor, second);
        second->release();
        panel.host.shownExtraEditor = nullptr;
        other.remove(0);
        other.append(QString("y"));
        QCOMPARE(panel.host.shownExtraEditor, panel.editor);
        panel.editor->setObject(&other);
        QVERIFY(panel.view->selectionModel());
        QCOMPARE(panel.view->findChildren<QItemSelectionModel *>().size(), 1);
        panel.editor->setObject(nullptr);
    }

    void clicks()
    {
        Panel panel(5);
        panel.show();
        QSignalSpy clicked(panel.editor, &OrganizerEditor::itemClicked);
        const QPoint place = panel.view->visualRect(panel.list.index(3)).center();
        QTest::mouseClick(panel.view->viewport(), Qt::LeftButton, {}, place);
        QCOMPARE(clicked, QList<QVariantList>{{3}});
        // Another one with it: both are only picked.
        QTest::mouseClick(panel.view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          panel.view->visualRect(panel.list.index(1)).center());
        QCOMPARE(clicked.count(), 1);
        panel.editor->itemDblClick(panel.list.index(2));
        QCOMPARE(clicked.last(), QVariantList{2});
        panel.editor->itemDblClick(QModelIndex());
        QCOMPARE(clicked.count(), 2);
        // What its editor goes to is told to nobody, and leaves what is picked if it is among it.
        const auto goTo = [&panel](int row) { panel.editor->setCurrentRow(panel.list.index(row)); };
        goTo(1);
        QCOMPARE(panel.selected(), RowList({1, 3}));
        goTo(0);
        QCOMPARE(panel.selected(), RowList({0}));
        panel.select({2, 3});
        goTo(0); // it has not gone anywhere since
        QCOMPARE(panel.selected(), RowList({2, 3}));
        panel.editor->setObject(nullptr);
        panel.editor->setObject(&panel.list);
        QCOMPARE(panel.selected(), RowList({0}));
        QCoreApplication::processEvents();
        QCOMPARE(clicked.count(), 2);
        // A key that the editor does not follow leads back; others go on from there.
        QTest::keyClick(panel.view, Qt::Key_End);
        QTRY_COMPARE(clicked.count(), 3);
        QCOMPARE(panel.selected(), RowList({0}));
        connect(panel.editor, &OrganizerEditor::itemClicked, panel.view, goTo);
        for (const int row : {1, 2}) {
            QTest::keyClick(panel.view, Qt::Key_Down);
            QTRY_COMPARE(clicked.last(), QVariantList{row});
        }
        QTest::keyClick(panel.view, Qt::Key_Down, Qt::ControlModifier);
        QTest::keyClick(panel.view, Qt::Key_Escape);
        QCoreApplication::processEvents();
        QCOMPARE(clicked.count(), 5);
        // The list goes behind a key, or another one comes.
        WordList other(letters(3));
        QTest::keyClick(panel.view, Qt::Key_Down);
        panel.editor->setObject(&other);
        QCoreApplication::processEvents();
        QCOMPARE(clicked.count(), 5);
        panel.select({1});
        panel.host.dialogs().expectDialog([&](QDialog *dialog) {
            panel.editor->setObject(nullptr);
            qobject_cast<QMessageBox *>(dialog)->button(QMessageBox::Yes)->click();
        });
        QTest::keyClick(panel.view, Qt::Key_Delete);
        QCOMPARE(panel.host.dialogs().finish(), QString());
        QVERIFY(other.log.isEmpty());
    }

    void dragged_data()
    {
        const auto add = columns<RowList, int, QString>("rows", "gap", "log");
        add("one row", {4}, 1, "[ 4>1 ]");
        add("several rows", {3, 5}, 1, "[ 5>1 4>2 ]");
        add("from both sides, one directly above the gap", {1, 4}, 2, "[ 4>2 1>2 ]");
        add("into the gap below one of them", {0, 3}, 4, "[ 0>3 ]");
    }

    /// A drag with the mouse, through the view and the platform's own drag and drop.
    void dragged()
    {
        auto [rows, gap] = row<RowList, int>();
        if (QGuiApplication::platformName() == QLatin1String("offscreen"))
            QSKIP("There is no drag and drop between windows that are on no display");
        Panel panel(6);
        panel.show();

        QWidget *viewport = panel.view->viewport();
        const QStringList expected = afterDrop(panel.list.words, rows, gap);
        panel.view->setSelectionMode(QAbstractItemView::ExtendedSelection);
        panel.select(rows);
        const QRect below = panel.view->visualRect(panel.list.index(gap));
        const QPoint place(below.center().x(), below.top());
        const QPoint start = panel.view->visualRect(panel.list.index(rows.last())).center();
        const auto send = [viewport](QEvent::Type type, const QPoint &at, Qt::MouseButton button) {
            const bool up = type == QEvent::MouseButtonRelease;
            QMouseEvent event(type, at, viewport->mapToGlobal(at), button,
                              up ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(viewport, &event);
        };
        send(QEvent::MouseButtonPress, start, Qt::LeftButton);
        send(QEvent::MouseMove, start - QPoint(0, QApplication::startDragDistance() + 1),
             Qt::NoButton);
        // The drag has an event loop of its own; what ends it must be under way before.
        int step = 0;
        QTimer hand;
        connect(&hand, &QTimer::timeout, this, [&] {
            ++step;
            send(step < 5 ? QEvent::MouseMove : QEvent::MouseButtonRelease,
                 place - QPoint(step % 2, 0), step < 5 ? Qt::NoButton : Qt::LeftButton);
            if (step == 5)
                hand.stop();
        });
        hand.start(20);
        send(QEvent::MouseMove, start - QPoint(0, 2 * QApplication::startDragDistance()),
             Qt::NoButton);
        QTRY_COMPARE(panel.list.words, expected);
        QTEST(panel.list.log.join(' '), "log");
        RowList ends;
        for (int row : qAsConst(rows))
            ends << expected.indexOf(letters(6).at(row));
        std::sort(ends.begin(), ends.end());
        QCOMPARE(panel.selected(), ends);
    }

    void randomGestures_data()
    {
        columns<quint32, bool>("seed", "parsesInBrackets");
        for (quint32 seed = 1; seed <= 8; ++seed)
            QTest::addRow("seed %u", seed) << seed << (seed % 2 == 1);
    }

    /// Buttons, drops and the Delete key on the animations of a file, any rows in any order,
    /// against a plain list; each gesture is one step of undo. Half of the files are parsed only
    /// after brackets.
    void randomGestures()
    {
        const auto [seed, parsesInBrackets] = row<quint32, bool>();
        QRandomGenerator random(seed);
        Panel panel(0);
        AnimationFile file;
        EmberAnimations *list = file.document->animations();
        file.document->setOption(QString("parseCode"), parsesInBrackets, false, false);
        const ModelTester checker(list);
        panel.editor->setObject(list);
        QSignalSpy changed(panel.editor, &OrganizerEditor::changed);
        for (int round = 0; round < 200; ++round) {
            if (file.names().size() < 2)
                file.fill(letters(1 + random.bounded(16)));
            const QStringList before = file.names();
            const int count = before.size();
            RowList rows;
            for (int row = 0; row < count; ++row) {
                if (random.bounded(3) == 0)
                    rows << row;
            }
            std::shuffle(rows.begin(), rows.end(), random);
            panel.select(rows);
            changed.clear();
            QStringList expected = before;
            const int action = random.bounded(12);
            if (action < 6) {
                const QStringList moved = afterMove(before, rows, action);
                panel.host.action(moveActions[action])->trigger();
                QCOMPARE(changed.isEmpty(), moved.isEmpty());
                expected = moved.isEmpty() ? before : moved;
                RowList selected;
                for (int row : qAsConst(rows))
                    selected << expected.indexOf(before.at(row));
                std::sort(selected.begin(), selected.end());
                QCOMPARE(panel.selected(), selected);
            } else if (action == 6) {
                expected.sort();
                panel.host.action("org_auto")->trigger();
            } else if (action == 7 && !rows.isEmpty() && rows.size() < count) {
                for (int row : qAsConst(rows))
                    expected.removeOne(before.at(row));
                panel.host.dialogs().expectBox(QMessageBox::Yes);
                QTest::keyClick(panel.view, Qt::Key_Delete);
            } else {
                const int row = random.bounded(-1, count + 2);
                expected = afterDrop(before, rows, row);
                const QScopedPointer<QMimeData> data(dragOf(*list, rows));
                QVERIFY(!data || !list->dropMimeData(data.data(), Qt::MoveAction, row, 0, {}));
            }
            QString fault = file.fault(expected);
            if (fault.isEmpty() && expected != before) {
                list->undo();
                fault = file.fault(before);
                list->redo();
                fault += file.fault(expected);
            }
            QVERIFY2(fault.isEmpty(), qPrintable(QString("action %1: ").arg(action) + fault));
        }
        QCOMPARE(panel.host.dialogs().finish(), QString());
        panel.editor->setObject(nullptr);
    }
};

QTEST_MAIN(OrganizerTest)
#include "tst_organizer.moc"
