#include <findinfilesdock.h>
#include <hostkit/codesurface.h>
#include <hostkit/editordeck.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/messagetable.h>
#include <hostkit/projectsession.h>
#include <hostkit/savedesk.h>
#include <hostkit/settings.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>
#include <mainactions.h>
#include <mainwindow.h>
#include <messagesdock.h>
#include <outputdock.h>
#include <projecttreedock.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/parentproject.h>
#include <tests/support/dialogscript.h>
#include <tests/support/files.h>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QDockWidget>
#include <QLineEdit>
#include <QListView>
#include <QProgressDialog>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

using namespace HostKit;
using namespace Studio;

// The real window on a copy of the sample project, driven by the keyboard.
class tst_studio_window : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void sampleOpensWithTreeAndMessages();
    void typingReachesTreeAndMessagesAtOnce();
    void typingADefinitionReachesTheProjectTreeAtOnce();
    void messageTableHoldsTheModelRules();
    void messagesLeadToTheirLines();
    void chosenMessageStays();
    void nodesLeadToTheirLines();
    void organizerFollowsTheFile();
    void organizerHasKeys_data();
    void organizerHasKeys();
    void savingWritesTheWholeFile();
    void savesLeaveTheViewAlone();
    void failedSavesAreTold();
    void goneFilesAreNotLostUnasked();
    void definitionStaysInItsProject();
    void projectIsSavedUnderANameOfItsKind();
    void nothingIsReplacedUnasked();
    void enginesTakeTurns();
    void outsideChangesAreAskedAbout_data();
    void outsideChangesAreAskedAbout();
    void findAndReplace_data();
    void findAndReplace();
    void findInFilesSurvivesAnyExpression_data();
    void findInFilesSurvivesAnyExpression();
    void tabsFollowTheFiles();
    void closingAsksForEachChange_data();
    void closingAsksForEachChange();
    void missingFilesAreMadeOnlyIfWanted();
    void directoryWithoutProjectLeavesTheOldOne();
    void settingsDialogReachesTheView();
    void encodingIsChosenFromTheStatusBar();
    void engineRunsOnTheSavedFiles();
    void definitionsDoNotTakeSettingsAway();
    void everythingHasANameAndAKey();
    void panelsAreReachedByTheKeyboard();
    void progressIsShownAndCancelled();
    void windowComesBackAsItWas();

private:
    QString path(const QString &name) const { return m_directory->filePath("hero/" + name); }
    Kiln::CodeEditor *view() const { return m_window->host().surface()->editor(); }
    Kiln::CodeDocument *document() const { return m_window->host().surface()->document(); }
    MessageTable *messages() const { return &m_window->host().messages(); }
    QTreeView *nodes() const { return m_window->findChild<QTreeView *>("code_tree"); }
    QListView *organizer() const { return m_window->findChild<QListView *>("org_list"); }
    void open(const QString &name);
    void goTo(const QString &text);
    void type(const QString &text);

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<DialogScript> m_dialogs;
    std::unique_ptr<MainWindow> m_window;
};

void tst_studio_window::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    const QString sample = QStringLiteral(KILN_SOURCE_DIR "/examples/hero");
    QDirIterator entries(sample, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString source = entries.next();
        const QString target = m_directory->filePath("hero") + source.mid(sample.size());
        QVERIFY(QDir().mkpath(QFileInfo(target).absolutePath()));
        QVERIFY(QFile::copy(source, target));
    }
    m_dialogs = std::make_unique<DialogScript>();
    m_window = std::make_unique<MainWindow>(Paths::below(m_directory->path()));
    m_window->host().settings().setValue("theme", "light");
    m_window->host().settings().apply();
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    QVERIFY(m_window->host().openProject(m_directory->filePath("hero")));
}

void tst_studio_window::cleanup()
{
    m_window.reset();
    QCOMPARE(m_dialogs->finish(), QString());
    m_dialogs.reset();
}

void tst_studio_window::open(const QString &name)
{
    QVERIFY(m_window->host().desk().openFile(path(name), 0));
    QCOMPARE(document()->fileName(), path(name));
}

// Puts the cursor at the end of the first line that holds `text`.
void tst_studio_window::goTo(const QString &text)
{
    QTextCursor found = document()->QTextDocument::find(text);
    QVERIFY2(!found.isNull(), qPrintable(text));
    found.movePosition(QTextCursor::EndOfBlock);
    view()->setTextCursor(found);
}

void tst_studio_window::type(const QString &text)
{
    for (const QChar character : text) {
        // An open list of words would take the Return key for itself.
        QWidget *words = QApplication::activePopupWidget();
        if (words && character == '\n')
            QTest::keyClick(words, Qt::Key_Escape);
        if (character == '\n')
            QTest::keyClick(view(), Qt::Key_Return);
        else
            QTest::keyClick(view(), character.toLatin1());
    }
}

void tst_studio_window::sampleOpensWithTreeAndMessages()
{
    const Kiln::ParentProject *project = m_window->host().session().parentProject();
    QVERIFY(m_window->host().session().projects().size() > 1);
    // Every file that a definition names, and the scanned ones, have one row each.
    for (const char *name : {"tidewater.hearth", "heroes/wren/wren.wisp", "heroes/wren/air.glow",
                             "stages/harbour/harbour.glade", "shared/rules.glow"}) {
        const Kiln::ParentProject::Path *row = project->filePath(path(name));
        QVERIFY2(row && row->isFile(), name);
    }
    int problems = 0;
    for (Kiln::ProjectFile *file : m_window->host().session().files())
        problems += int(file->messages()->count(Kiln::Message::All));
    QVERIFY2(problems > 0, "the sample has something to complain about");
    QVERIFY(messages()->rowCount() >= problems);
    QCOMPARE(messages()->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(),
             QStringLiteral("Message"));
    QCOMPARE(m_window->host().settings().recentProjects().first(), m_directory->filePath("hero"));
}

void tst_studio_window::typingReachesTreeAndMessagesAtOnce()
{
    open("heroes/wren/ground.glow");
    const int errors = messages()->errorCount();
    const int rows = nodes()->model()->rowCount();
    QAbstractItemModelTester tester(nodes()->model());
    goTo("drift: 0.4, 0");
    type("\n\n@state swim\n    posture: floating");
    QCOMPARE(nodes()->model()->rowCount(), rows + 1);
    QCOMPARE(messages()->errorCount(), errors + 1);
    QCOMPARE(nodes()->currentIndex(), document()->indexInLine(view()->textCursor().blockNumber()));
    auto *status = m_window->findChild<StatusFields *>();
    QCOMPARE(status->field(0), QStringLiteral("Line: %1, Column: %2, Line count: %3")
                                   .arg(view()->textCursor().blockNumber() + 1)
                                   .arg(22)
                                   .arg(document()->blockCount()));
    QCOMPARE(status->field(1), QStringLiteral("Syntax error count: %1")
                                   .arg(document()->messages()->count(Kiln::Message::Error)));
    QVERIFY(m_window->isWindowModified());

    while (document()->isUndoAvailable())
        QTest::keyClick(view(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(nodes()->model()->rowCount(), rows);
    QCOMPARE(messages()->errorCount(), errors);
    QVERIFY(!m_window->isWindowModified());
}

void tst_studio_window::typingADefinitionReachesTheProjectTreeAtOnce()
{
    open("heroes/wren/wren.wisp");
    const Kiln::ParentProject *project = m_window->host().session().parentProject();
    QVERIFY(!project->filePath(path("heroes/wren/deep/swim.glow")));
    goTo("states: hurt.glow");
    type("\n    states: deep/swim.glow");
    QVERIFY(project->filePath(path("heroes/wren/deep/swim.glow")));
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(view(), Qt::Key_Backspace);
    QVERIFY(!project->filePath(path("heroes/wren/deep/swim.glow")));
    QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
}

void tst_studio_window::messageTableHoldsTheModelRules()
{
    QAbstractItemModelTester tester(messages());
    open("heroes/wren/ground.glow");
    QTreeView *table = m_window->findChild<QTreeView *>("messages_view");
    table->setCurrentIndex(messages()->index(0, 0));
    goTo("posture: crouching");
    type("\nnonsense\nnonsense\nnonsense");
    QVERIFY2(table->currentIndex().isValid(), "typing must not lose the selected message");
    QTest::keyClick(view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(view(), Qt::Key_Delete);
    QCOMPARE(document()->messages()->count(Kiln::Message::All), 0U);
    QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
    QVERIFY(m_window->host().closeProject());
    QCOMPARE(messages()->rowCount(), 0);
}

void tst_studio_window::messagesLeadToTheirLines()
{
    open("heroes/wren/ground.glow");
    QTreeView *table = m_window->findChild<QTreeView *>("messages_view");
    QVERIFY(messages()->rowCount() > 1);
    for (int row = 0; row < messages()->rowCount(); ++row) {
        Kiln::ProjectFile *file = nullptr;
        const Kiln::Message message = messages()->messageAt(row, file);
        QVERIFY(file);
        table->setCurrentIndex(messages()->index(row, 0));
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(m_window->host().deck().currentFile(), file);
        QCOMPARE(view()->textCursor().blockNumber(), message.line);
        QCOMPARE(messages()->index(row, 2).data().toInt(), message.line + 1);
        QCOMPARE(m_window->host().session().currentProject(), file->project());
    }
    QTest::keyClick(m_window.get(), Qt::Key_F8);
    QCOMPARE(table->currentIndex().row(), 0);
}

// The box under the text keeps the message that was chosen while lines are typed in: below it,
// above it, and its own.
void tst_studio_window::chosenMessageStays()
{
    open("heroes/wren/showcase.glow");
    auto *box = m_window->findChild<QComboBox *>("codeMessages");
    QVERIFY(box->count() > 4);
    const auto lineOf = [this](int row) {
        return document()->messages()->at(unsigned(row), Kiln::Message::All).line;
    };
    box->setCurrentIndex(2);
    const QString chosen = box->currentText();
    const int line = lineOf(2);
    for (const int row : {box->count() - 1, 0, 2}) {
        view()->setTextCursor(QTextCursor(document()->findBlockByNumber(lineOf(row))));
        QTest::keyClick(view(), Qt::Key_End);
        type(" ; five");
        QCOMPARE(box->currentIndex(), 2);
        QCOMPARE(box->currentText(), chosen);
    }
    view()->setTextCursor(QTextCursor(document()->findBlockByNumber(lineOf(0))));
    type("\n");
    QCOMPARE(box->currentText(), chosen);
    QCOMPARE(lineOf(box->currentIndex()), line + 1);
}

void tst_studio_window::nodesLeadToTheirLines()
{
    open("heroes/wren/ground.glow");
    const QModelIndex section = nodes()->model()->index(2, 0);
    nodes()->setCurrentIndex(section);
    QTest::keyClick(nodes(), Qt::Key_Return);
    QCOMPARE(view()->textCursor().blockNumber(), document()->lineNo(section));
    QCOMPARE(QApplication::focusWidget(), view());

    // A file that is loaded anew has other nodes, and the tree is open at the cursor again.
    const int line = view()->textCursor().blockNumber();
    QVERIFY(nodes()->isExpanded(document()->indexInLine(line)));
    document()->reload();
    QTRY_VERIFY(nodes()->isExpanded(document()->indexInLine(line)));
}

// The panel has the animations of the file on show, changes its text, and leads to its lines.
void tst_studio_window::organizerFollowsTheFile()
{
    open("heroes/wren/wren.flick");
    QVERIFY(organizer()->isVisible());
    QCOMPARE(organizer()->model()->index(1, 0).data().toString(), QStringLiteral("walk - Walking"));
    organizer()->setCurrentIndex(organizer()->model()->index(1, 0));
    auto *button = m_window->findChild<QToolButton *>("org_up");
    QVERIFY(button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(organizer()->model()->index(0, 0).data().toString(), QStringLiteral("walk - Walking"));
    QVERIFY(document()->toPlainText().indexOf("@animation walk") <
            document()->toPlainText().indexOf("@animation stand"));
    const QModelIndex tiptoe = organizer()->model()->index(2, 0);
    const QPoint place = organizer()->visualRect(tiptoe).center();
    QTest::mouseClick(organizer()->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(organizer()->viewport(), Qt::LeftButton, {}, place);
    QVERIFY(view()->textCursor().block().text().startsWith("@animation tiptoe"));
    m_window->host().settings().setValue("show_organizer", false);
    m_window->host().settings().apply();
    QVERIFY(!organizer()->isVisible());
    m_window->host().settings().setValue("show_organizer", true);
    m_window->host().settings().apply();
    QVERIFY(organizer()->isVisible());

    open("heroes/wren/air.glow");
    QVERIFY(!organizer()->isVisible());
    open("heroes/wren/wren.flick");
    QVERIFY(organizer()->isVisible());
    m_dialogs->expectBox(QMessageBox::Yes);
    m_window->actions()->closeFile->trigger();
    QVERIFY(!organizer()->isVisible());
    QVERIFY(!organizer()->model());
}

void tst_studio_window::organizerHasKeys_data()
{
    QTest::addColumn<QKeySequence>("key");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::newRow("up") << QKeySequence(Qt::ALT + Qt::Key_Up) << 3 << 2;
    QTest::newRow("down") << QKeySequence(Qt::ALT + Qt::Key_Down) << 3 << 4;
    QTest::newRow("up 10") << QKeySequence(Qt::ALT + Qt::Key_PageUp) << 12 << 2;
    QTest::newRow("down 10") << QKeySequence(Qt::ALT + Qt::Key_PageDown) << 2 << 12;
    QTest::newRow("top") << QKeySequence(Qt::ALT + Qt::Key_Home) << 3 << 0;
    QTest::newRow("bottom") << QKeySequence(Qt::ALT + Qt::Key_End) << 3 << 16;
    QTest::newRow("sorted") << QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_O) << 7 << 0;
}

void tst_studio_window::organizerHasKeys()
{
    QFETCH(QKeySequence, key);
    QFETCH(int, from);
    QFETCH(int, to);
    open("heroes/wren/wren.flick");
    const QString text = document()->toPlainText();
    const QModelIndex moved = organizer()->model()->index(from, 0);
    const QString name = moved.data().toString();
    organizer()->setCurrentIndex(moved);
    view()->setFocus();
    QTest::keySequence(view(), key);
    QCOMPARE(document()->toPlainText(), text);
    organizer()->setFocus();
    QTest::keySequence(organizer(), key);
    QCOMPARE(organizer()->model()->index(to, 0).data().toString(), name);
    document()->QTextDocument::undo();
    QCOMPARE(document()->toPlainText(), text);
}

void tst_studio_window::savingWritesTheWholeFile()
{
    open("heroes/wren/air.glow");
    QTest::keyClick(view(), Qt::Key_End, Qt::ControlModifier);
    type("\n; the end");
    const QByteArray expected = document()->toString().replace("\n", "\r\n").toUtf8();
    QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(readFile(path("heroes/wren/air.glow")), expected);
    QVERIFY(!document()->isModified());
    QVERIFY(!m_window->isWindowModified());

    open("heroes/wren/hurt.glow");
    type("; one\n");
    open("heroes/wren/brain.glow");
    type("; two\n");
    QCOMPARE(m_window->host().session().modifiedFiles().size(), 2);
    QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier | Qt::AltModifier);
    QVERIFY(m_window->host().session().modifiedFiles().isEmpty());
    QVERIFY(readFile(path("heroes/wren/hurt.glow")).startsWith("; one\r\n"));
    QVERIFY(readFile(path("heroes/wren/brain.glow")).startsWith("; two\r\n"));
}

void tst_studio_window::savesLeaveTheViewAlone()
{
    open("heroes/wren/air.glow");
    type("; " + QString(400, 'x'));
    QTextCursor selection = view()->textCursor();
    selection.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, 5);
    view()->setTextCursor(selection);
    const int scrolled = view()->horizontalScrollBar()->value();
    QVERIFY(scrolled > 0);
    nodes()->setFocus();
    m_window->actions()->save->trigger();
    QVERIFY(!document()->isModified());
    QCOMPARE(view()->textCursor().selectedText(), selection.selectedText());
    QCOMPARE(view()->horizontalScrollBar()->value(), scrolled);
    QCOMPARE(QApplication::focusWidget(), nodes());
}

void tst_studio_window::failedSavesAreTold()
{
    m_window->host().settings().setValue("enable_file_watcher", false);
    open("heroes/wren/air.glow");
    type("; not lost");
    // A directory stands in the way.
    QVERIFY(QFile::remove(path("heroes/wren/air.glow")));
    QVERIFY(QDir().mkpath(path("heroes/wren/air.glow/in the way")));
    m_dialogs->expectBox(QMessageBox::Ok);
    m_dialogs->expectFiles({});
    m_window->actions()->save->trigger();
    QVERIFY(document()->isModified());
    QVERIFY2(m_dialogs->seen().first().text.contains("air.glow' could not be saved."),
             qPrintable(m_dialogs->seen().first().text));

    QVERIFY(QDir().mkpath(path("heroes/wren/also.glow/in the way")));
    m_dialogs->expectFiles({path("heroes/wren/also")});
    m_dialogs->expectBox(QMessageBox::Yes);
    m_dialogs->expectBox(QMessageBox::Ok);
    m_window->actions()->saveAs->trigger();
    QVERIFY(document()->isModified());
    QVERIFY(m_dialogs->seen().last().text.contains("could not be saved."));

    m_dialogs->expectFiles({path("heroes/wren/higher")});
    m_window->actions()->saveAs->trigger();
    QVERIFY(readFile(path("heroes/wren/higher.glow")).startsWith("; not lost"));
    m_dialogs->expectFiles({});
    m_window->actions()->saveAs->trigger();
}

void tst_studio_window::goneFilesAreNotLostUnasked()
{
    const QString name = path("heroes/wren/hurt.glow");
    const QByteArray before = readFile(name);
    open("heroes/wren/hurt.glow");
    QVERIFY(QFile::remove(name));
    m_dialogs->expectBox(QMessageBox::No);
    m_window->actions()->closeFile->trigger();
    QVERIFY(document());
    m_window->actions()->save->trigger();
    QCOMPARE(readFile(name), QByteArray(before).replace("\r\n", "\n").replace("\n", "\r\n"));

    QVERIFY(QFile::remove(name));
    m_dialogs->expectBox(QMessageBox::Yes);
    m_window->actions()->saveAll->trigger();
    QVERIFY(QFileInfo::exists(name));

    QVERIFY(QFile::remove(name));
    m_dialogs->expectBox(QMessageBox::No);
    QVERIFY(!m_window->close());
    m_dialogs->expectBox(QMessageBox::Yes);
    QVERIFY(m_window->close());
}

void tst_studio_window::definitionStaysInItsProject()
{
    open("heroes/wren/wren.wisp");
    type("; changed\n");
    QVERIFY(QFile::remove(path("heroes/wren/wren.wisp")));
    m_dialogs->expectBox(QMessageBox::Yes);
    m_window->actions()->closeFile->trigger();
    const QList<Kiln::Project *> projects = m_window->host().session().projects();
    for (const Kiln::Project *project : projects)
        QVERIFY(project->file(Kiln::Project::FileID::Definition));
    QVERIFY(m_window->host().session().parentProject()->backup("kept"));
}

void tst_studio_window::projectIsSavedUnderANameOfItsKind()
{
    QVERIFY(m_window->host().openProject(path("heroes/wren")));
    QCOMPARE(m_window->host().session().projects().size(), 1);
    const QString copy = m_directory->filePath("raven");
    m_dialogs->expectFiles({copy + "/raven"});
    m_window->actions()->saveProjectAs->trigger();
    QVERIFY(QFileInfo::exists(copy + "/raven.wisp"));
    QVERIFY(!QFileInfo::exists(copy + "/raven"));
    QCOMPARE(m_window->host().settings().recentProjects().value(0), copy);
    QVERIFY(m_window->host().openProject(copy));
}

void tst_studio_window::nothingIsReplacedUnasked()
{
    const QString other = m_directory->filePath("other");
    QVERIFY(QDir().mkpath(other));
    writeFile(other + "/tidewater.hearth", "; of somebody else\r\n");
    m_dialogs->expectFiles({other});
    m_dialogs->expectBox(QMessageBox::No);
    m_window->actions()->saveProjectAs->trigger();
    QCOMPARE(readFile(other + "/tidewater.hearth"), QByteArray("; of somebody else\r\n"));
    QVERIFY(m_dialogs->seen().last().text.contains("tidewater.hearth"));

    QVERIFY(m_window->host().saving().backup("first"));
    const QStringList copies = QDir(path("backup")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(copies.size(), 1);
    open("heroes/wren/air.glow");
    type("; newer\n");
    m_window->actions()->save->trigger();
    m_dialogs->expectFiles({path("backup/" + copies.first())});
    m_dialogs->expectBox(QMessageBox::No);
    m_window->actions()->restore->trigger();
    QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; newer"));
    m_dialogs->expectFiles({path("backup/" + copies.first())});
    m_dialogs->expectBox(QMessageBox::Yes);
    m_window->actions()->restore->trigger();
    QVERIFY(!readFile(path("heroes/wren/air.glow")).startsWith("; newer"));
}

// A project of another engine makes that one current, and back.
void tst_studio_window::enginesTakeTurns()
{
    const QString arcade = m_directory->filePath("arcade");
    QVERIFY(QDir().mkpath(arcade));
    for (const char *name : {"/arcade.spark", "/bosses.tune"})
        QVERIFY(QFile::copy(KILN_SOURCE_DIR "/engines/spark/sample" + QLatin1String(name),
                            arcade + QLatin1String(name)));
    QVERIFY(m_window->host().openProject(arcade));
    QCOMPARE(m_window->host().engine()->displayName(), QStringLiteral("Spark"));
    QCOMPARE(m_window->actions()->newMenu->actions().size(), 1);
    type("lonely = 1\n");
    QVERIFY2(messages()->errorCount() > 0, "a value without a section is an error of Spark's");
    m_window->actions()->undo->trigger();
    m_window->actions()->save->trigger();
    QVERIFY(m_window->host().openProject(m_directory->filePath("hero")));
    QCOMPARE(m_window->host().engine()->displayName(), QStringLiteral("Ember"));
    QVERIFY(m_window->actions()->newMenu->actions().size() > 1);
}

void tst_studio_window::outsideChangesAreAskedAbout_data()
{
    QTest::addColumn<bool>("watched");
    QTest::addColumn<bool>("yes");
    QTest::newRow("reload") << true << true;
    QTest::newRow("keep") << true << false;
    QTest::newRow("not watched") << false << false;
}

void tst_studio_window::outsideChangesAreAskedAbout()
{
    QFETCH(bool, watched);
    QFETCH(bool, yes);
    m_window->host().settings().setValue("enable_file_watcher", watched);
    open("heroes/wren/air.glow");
    const QString before = document()->toString();
    m_window->host().deck().current()->navigateTo(2, 3);
    if (watched)
        m_dialogs->expectBox(yes ? QMessageBox::Yes : QMessageBox::No);
    writeFile(path("heroes/wren/air.glow"), "; from outside\r\n; second\r\n; third\r\n");
    if (watched) {
        QTRY_COMPARE(m_dialogs->seen().size(), 1);
        QCOMPARE(m_dialogs->seen().first().title, QStringLiteral("File modified"));
        QTRY_COMPARE(document()->toString(),
                     yes ? QStringLiteral("; from outside\n; second\n; third\n") : before);
        // A reload keeps the place.
        QTRY_COMPARE(view()->textCursor().blockNumber(), 2);
        QCOMPARE(view()->textCursor().positionInBlock(), 3);
        return;
    }
    // The watcher of the tree, which works without the option, tells when the time has come.
    QFileSystemWatcher witness({path("heroes/wren/air.glow")});
    QSignalSpy changed(&witness, &QFileSystemWatcher::fileChanged);
    writeFile(path("heroes/wren/air.glow"), "; again\r\n");
    QVERIFY(changed.wait());
    QCOMPARE(document()->toString(), before);
}

void tst_studio_window::findAndReplace_data()
{
    QTest::addColumn<QString>("find");
    QTest::addColumn<QString>("by");
    QTest::addColumn<QStringList>("checked");
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("text");
    QTest::newRow("all, plain") << "a.c"
                                << "\\1" << QStringList{} << QByteArray("find_replace_all")
                                << "abc \\1 ABC\n\\1";
    QTest::newRow("all, expression") << "a(.)c"
                                     << "<\\1>" << QStringList{"find_regex"}
                                     << QByteArray("find_replace_all") << "<b> <.> <B>\n<.>";
    QTest::newRow("all, by case") << "a.c"
                                  << "x" << QStringList{"find_regex", "find_case"}
                                  << QByteArray("find_replace_all") << "x x ABC\nx";
    QTest::newRow("one after the found one")
        << "a.c"
        << "x" << QStringList{} << QByteArray("find_replace_one") << "abc x ABC\na.c";
    QTest::newRow("a broken expression does nothing")
        << "a("
        << "x" << QStringList{"find_regex"} << QByteArray("find_replace_all") << "abc a.c ABC\na.c";
}

void tst_studio_window::findAndReplace()
{
    QFETCH(QString, find);
    QFETCH(QString, by);
    QFETCH(QStringList, checked);
    QFETCH(QByteArray, button);
    QFETCH(QString, text);
    open("heroes/wren/air.glow");
    view()->selectAll();
    view()->insertPlainText("abc a.c ABC\na.c");
    QTest::keyClick(view(), Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(view(), Qt::Key_F, Qt::ControlModifier);
    auto *field = m_window->findChild<QLineEdit *>("find_text");
    QTRY_VERIFY(field->hasFocus());
    field->setText(find);
    for (const QString &name : qAsConst(checked))
        m_window->findChild<QAbstractButton *>(name)->setChecked(true);
    m_window->findChild<QLineEdit *>("find_replacement")->setText(by);
    if (button == "find_replace_one") {
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(view()->textCursor().selectedText(), QStringLiteral("a.c"));
    }
    m_window->findChild<QPushButton *>(button)->click();
    QCOMPARE(document()->toString(), text);
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(!field->isVisible());
    QTRY_VERIFY(view()->hasFocus());
    document()->undo();
    m_window->actions()->saveAll->trigger();
}

void tst_studio_window::findInFilesSurvivesAnyExpression_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expression");
    QTest::addColumn<bool>("hits");
    QTest::newRow("plain") << "wren_dash" << false << true;
    QTest::newRow("nothing there") << "no such text anywhere" << false << false;
    QTest::newRow("expression") << "wren_\\w+" << true << true;
    QTest::newRow("broken expression") << "wren_(" << true << false;
    QTest::newRow("empty text") << "" << false << false;
}

void tst_studio_window::findInFilesSurvivesAnyExpression()
{
    QFETCH(QString, text);
    QFETCH(bool, expression);
    QFETCH(bool, hits);
    auto *dock = m_window->findChild<FindInFilesDock *>();
    m_window->actions()->findInFiles->trigger();
    auto *field = dock->findChild<QLineEdit *>("search_text");
    field->setText(text);
    dock->findChild<QAbstractButton *>("search_regex")->setChecked(expression);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(dock->hitCount() > 0, hits);
    // These match empty text at many places, or at every one.
    for (const char *hostile : {"x*", "\\b", "(?=w)", "^", "$"}) {
        field->setText(hostile);
        dock->findChild<QAbstractButton *>("search_regex")->setChecked(true);
        QTest::keyClick(field, Qt::Key_Return);
    }
}

void tst_studio_window::tabsFollowTheFiles()
{
    auto *tabs = m_window->findChild<FileTabs *>();
    const int before = tabs->count();
    open("heroes/wren/air.glow");
    open("heroes/moss/ground.glow");
    open("heroes/wren/air.glow");
    QCOMPARE(tabs->count(), before + 2);
    type("; x");
    QVERIFY(tabs->tabText(tabs->currentIndex()).endsWith(QStringLiteral("•")));
    QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(tabs->tabText(tabs->currentIndex()), QStringLiteral("air.glow"));
    tabs->setCurrentIndex(
        tabs->indexOf(m_window->host().session().findFile(path("heroes/moss/ground.glow"))));
    QCOMPARE(document()->fileName(), path("heroes/moss/ground.glow"));
    while (tabs->count() > 0)
        m_window->actions()->closeFile->trigger();
    QVERIFY(!document());
    QVERIFY(!m_window->host().deck().current());
    QVERIFY2(m_window->host().session().findFile(path("heroes/wren/air.glow")),
             "a file off the desk still belongs to its project");

    m_window->actions()->newMenu->actions().first()->trigger();
    QCOMPARE(tabs->tabText(0), QStringLiteral("Untitled"));
    type("; new");
    m_dialogs->expectBox(QMessageBox::Yes);
    const int files = m_window->host().session().files().size();
    m_window->actions()->closeFile->trigger();
    QCOMPARE(m_window->host().session().files().size(), files - 1);
}

void tst_studio_window::closingAsksForEachChange_data()
{
    QTest::addColumn<bool>("first");
    QTest::addColumn<bool>("second");
    QTest::newRow("both may go") << true << true;
    QTest::newRow("the first may not") << false << false;
    QTest::newRow("the second may not") << true << false;
}

void tst_studio_window::closingAsksForEachChange()
{
    QFETCH(bool, first);
    QFETCH(bool, second);
    open("heroes/wren/air.glow");
    type("; one");
    open("heroes/wren/hurt.glow");
    type("; two");
    m_dialogs->expectBox(first ? QMessageBox::Yes : QMessageBox::No);
    if (first)
        m_dialogs->expectBox(second ? QMessageBox::Yes : QMessageBox::No);
    QCOMPARE(m_window->close(), first && second);
    QCOMPARE(m_dialogs->seen().size(), first ? 2 : 1);
    QCOMPARE(m_dialogs->seen().first().title, QStringLiteral("Discard changes?"));
    QCOMPARE(m_window->host().session().parentProject() == nullptr, first && second);
}

void tst_studio_window::missingFilesAreMadeOnlyIfWanted()
{
    const QString name = path("heroes/wren/fresh.glow");
    m_dialogs->expectBox(QMessageBox::No);
    QVERIFY(!m_window->host().desk().openFile(name, Kiln::Project::FileID::Code));
    QVERIFY(!QFileInfo::exists(name));
    m_dialogs->expectBox(QMessageBox::Yes);
    QVERIFY(m_window->host().desk().openFile(name, Kiln::Project::FileID::Code));
    QVERIFY(QFileInfo::exists(name));
    QCOMPARE(document()->fileName(), name);
    QVERIFY(!m_window->host().desk().openFile(path("notes/design.txt"), 0));
}

void tst_studio_window::directoryWithoutProjectLeavesTheOldOne()
{
    const QTemporaryDir empty;
    const Kiln::ParentProject *project = m_window->host().session().parentProject();
    m_dialogs->expectBox(QMessageBox::Ok);
    QVERIFY(!m_window->host().openProject(empty.path()));
    QCOMPARE(m_window->host().session().parentProject(), project);
    QVERIFY(!m_window->host().settings().recentProjects().contains(empty.path()));
    QVERIFY2(m_window->host().openProject(m_directory->filePath("hero")), "it opens again");
    QVERIFY(document());
}

void tst_studio_window::settingsDialogReachesTheView()
{
    open("heroes/wren/ground.glow");
    const auto colours = [this] {
        return document()->findBlockByNumber(2).layout()->formats().size();
    };
    QVERIFY(colours() > 0);
    m_window->host().settings().setValue("font_name", "a family that nobody has");
    const auto viewFlags = [this] {
        const Kiln::CodeEditor::SyntaxFormatting &now = view()->syntaxFormatting();
        auto *bar = m_window->findChild<QToolBar *>("codeToolBar");
        return QList<bool>{bar->isVisible(),  now.lineNumbers,     now.foldingMarkers,
                           now.highlightLine, now.highlightBlocks, now.parenMatching};
    };
    const QList<bool> before = viewFlags();
    QList<bool> toggled;
    for (const bool flag : before)
        toggled << !flag;
    m_dialogs->expectDialog([](QDialog *dialog) {
        dialog->findChild<QSpinBox *>("settings_font_size")->setValue(17);
        dialog->findChild<QAbstractButton *>("settings_highlightCode")->setChecked(false);
        dialog->findChild<QAbstractButton *>("settings_modelCode")->setChecked(false);
        for (const char *key :
             {"show_code_bar", "code_line_numbers", "code_folding_markers", "code_highlight_line",
              "code_highlight_blocks", "code_paren_matching"})
            dialog->findChild<QAbstractButton *>(QLatin1String("settings_") + key)->toggle();
        auto *theme = dialog->findChild<QComboBox *>("settings_theme");
        theme->setCurrentIndex(theme->findData("dark"));
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    m_window->actions()->settings->trigger();
    QCOMPARE(view()->font().pointSize(), 17);
    QCOMPARE(viewFlags(), toggled);
    QCOMPARE(m_window->host().settings().value("font_name").toString(),
             QStringLiteral("a family that nobody has"));
    QVERIFY(Theme::isDark());
    QCOMPARE(colours(), 0);
    QCOMPARE(document()->model()->rowCount(), 0);

    m_window->host().settings().setValue("highlightCode", true);
    m_window->host().settings().setValue("modelCode", true);
    m_window->host().settings().apply();
    QVERIFY(colours() > 0);
    QVERIFY(document()->model()->rowCount() > 0);
    m_window->actions()->zoomIn->trigger();
    QCOMPARE(view()->font().pointSize(), 19);
    m_window->actions()->zoomActual->trigger();
    QCOMPARE(view()->font().pointSize(), 17);
}

void tst_studio_window::encodingIsChosenFromTheStatusBar()
{
    open("heroes/wren/ground.glow");
    m_dialogs->expectDialog([](QDialog *dialog) {
        dialog->findChild<QComboBox *>("codePage")->setCurrentText("UTF-16LE");
        dialog->accept();
    });
    m_dialogs->expectBox(QMessageBox::No);
    auto *field = m_window->findChild<QToolButton *>("status_field_2");
    QTest::mouseClick(field, Qt::LeftButton);
    QCOMPARE(document()->codecName(), QStringLiteral("UTF-16LE"));
    QCOMPARE(field->text(), QStringLiteral("Encoding: UTF-16LE"));
}

void tst_studio_window::engineRunsOnTheSavedFiles()
{
    QVERIFY2(m_window->host().engine()->count() > 0, "the sample engine is there from the start");
    open("heroes/wren/air.glow");
    type("; saved before the run\n");
    m_dialogs->expectBox(QMessageBox::Yes);
    if (m_window->host().engine()->count() > 1)
        m_dialogs->expectDialog([](QDialog *dialog) { dialog->accept(); });
    m_window->actions()->run->trigger();
    QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; saved before the run\r\n"));
    const QString output = m_window->findChild<OutputDock *>()->text();
    QVERIFY2(output.contains("Ember game"), qPrintable(output));
    QVERIFY2(output.contains("wren.wisp"), qPrintable(output));
    QVERIFY(m_window->actions()->run->isEnabled());
}

void tst_studio_window::definitionsDoNotTakeSettingsAway()
{
    m_window->host().settings().setValue("highlightCode", false);
    QVERIFY(m_window->host().openProject(m_directory->filePath("hero")));
    QVERIFY(!m_window->host().settings().value("highlightCode").toBool());
}

void tst_studio_window::everythingHasANameAndAKey()
{
    open("heroes/wren/air.glow");
    m_window->actions()->find->trigger();
    m_window->actions()->findInFiles->trigger();
    for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
        if (!widget->isVisible() || !(widget->focusPolicy() & Qt::TabFocus))
            continue;
        const QString text = widget->property("text").toString();
        const QByteArray what =
            widget->metaObject()->className() + QByteArray(" ") + widget->objectName().toUtf8();
        QVERIFY2(!widget->objectName().isEmpty(), what.constData());
        QVERIFY2(!widget->accessibleName().isEmpty() || !text.isEmpty(), what.constData());
    }
    // No two commands may want the same key.
    QMap<QString, QString> keys;
    for (const QAction *action : m_window->findChildren<QAction *>()) {
        for (const QKeySequence &key : action->shortcuts()) {
            QVERIFY2(!keys.contains(key.toString()),
                     qPrintable(key.toString() + ' ' + keys[key.toString()] + ' ' +
                                action->objectName()));
            keys.insert(key.toString(), action->objectName());
        }
    }
}

void tst_studio_window::panelsAreReachedByTheKeyboard()
{
    open("heroes/wren/air.glow");
    view()->setFocus();
    QStringList visited;
    for (int i = 0; i < 4; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
        visited.append(QApplication::focusWidget()->objectName());
    }
    QCOMPARE(visited, (QStringList{"project_tree", "code_tree", "messages_view", "codeEditor"}));
    QTest::keyClick(view(), Qt::Key_F6, Qt::ShiftModifier);
    QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("messages_view"));
}

void tst_studio_window::progressIsShownAndCancelled()
{
    Kiln::Progress *progress = m_window->host().progress("Saving...", true);
    progress->setProgress(0, 10);
    progress->setProgress(4, 0);
    auto *dialog = m_window->findChild<QProgressDialog *>("progress");
    QCOMPARE(dialog->labelText(), QStringLiteral("Saving..."));
    QCOMPARE(qMakePair(dialog->value(), dialog->maximum()), qMakePair(4, 10));
    bool cancelled = false;
    progress->setProgress(5, 0, &cancelled);
    QVERIFY(!cancelled);
    dialog->cancel();
    progress->setProgress(6, 0, &cancelled);
    QVERIFY(cancelled);
    progress->finish();
    QVERIFY(!m_window->findChild<QProgressDialog *>("progress"));
}

void tst_studio_window::windowComesBackAsItWas()
{
    m_window->resize(1000, 700);
    m_window->findChild<QDockWidget *>("dock_messages")->hide();
    m_window->host().settings().setValue("font_size", 13);
    QVERIFY(m_window->close());
    m_window = std::make_unique<MainWindow>(Paths::below(m_directory->path()));
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QCOMPARE(m_window->size(), QSize(1000, 700));
    QVERIFY(!m_window->findChild<QDockWidget *>("dock_messages")->isVisible());
    m_window->reopenLast();
    QVERIFY(document());
    QCOMPARE(view()->font().pointSize(), 13);
}

QTEST_MAIN(tst_studio_window)
#include "tst_studio_window.moc"
