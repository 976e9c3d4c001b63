// The steps of the tour, each with the conditions that tell whether it happened.

#include "tour_p.h"

#include "findinfilesdock.h"
#include "mainactions.h"
#include "messagesdock.h"
#include "outputdock.h"
#include "projecttreedock.h"

#include <hostkit/codesurface.h>
#include <hostkit/editordeck.h>
#include <hostkit/messagetable.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/projectsession.h>
#include <hostkit/recoveryjournal.h>
#include <hostkit/settings.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/rundlg.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/parentproject.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <QTreeView>

#include <unistd.h>

namespace Studio
{

using namespace HostKit;

namespace
{

const char codeFile[] = "heroes/wren/ground.glow";
const char definitionFile[] = "heroes/wren/wren.wisp";
const char animationFile[] = "heroes/wren/wren.flick";

// The first line, counted from 0, that holds `part`; -1 if none does.
int lineOf(const QString &text, const QString &part)
{
    const int at = text.indexOf(part);
    return at < 0 ? -1 : text.leftRef(at).count(QLatin1Char('\n'));
}

int coloursIn(const QTextBlock &block)
{
    return block.layout()->formats().size();
}

QByteArray contentsOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

// Brackets are matched a moment after the cursor moved.
bool Tour::marksBecome(int count) const
{
    const Kiln::CodeEditor *view = d->window->host().surface()->editor();
    QElapsedTimer waited;
    waited.start();
    while (view->extraSelections().size() != count && waited.elapsed() < dialogTimeoutMs)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return view->extraSelections().size() == count;
}

bool Tour::openProject()
{
    if (!check(d->window->host().openProject(d->project), "the project opens"))
        return false;
    const ProjectSession *session = &d->window->host().session();
    const auto *tree = d->window->findChild<ProjectTreeDock *>();
    return check(session->projects().size() > 1, "several definitions are open") &&
           check(tree->view()->model()->rowCount() > 0, "the tree has rows") &&
           check(!text().isEmpty(), "a definition is shown");
}

bool Tour::showCode()
{
    if (!openFromTree(QLatin1String(codeFile)))
        return false;
    const int line = lineOf(text(), QStringLiteral("@@step burst"));
    if (!check(line > 0, "the sample has the step"))
        return false;
    goToLine(line + 1);
    const Kiln::CodeDocument *document = d->window->host().surface()->document();
    auto *tree = d->window->findChild<QTreeView *>(QStringLiteral("code_tree"));
    return check(coloursIn(document->findBlockByNumber(line)) > 0, "tokens are coloured") &&
           check(tree->currentIndex() == document->indexInLine(line + 1) &&
                     tree->currentIndex().isValid(),
                 "the tree follows the cursor");
}

bool Tour::foldSections()
{
    Kiln::CodeEditor *view = d->window->host().surface()->editor();
    goToLine(lineOf(text(), QStringLiteral("@state walk")));
    const QTextBlock head = view->textCursor().block();
    auto *margin = view->findChild<QWidget *>(QStringLiteral("codeEditorMargin"));
    const QPoint marker(margin->width() - 8, view->cursorRect().center().y());
    QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker);
    if (!check(!head.next().isVisible(), "a click on the marker folds the section"))
        return false;
    picture(d->step);
    QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker);
    return check(head.next().isVisible(), "a second click unfolds it");
}

bool Tour::matchBrackets()
{
    goToLine(lineOf(text(), QStringLiteral("when: (life < 20) and not {guarding}")));
    // The range, its two brackets, and the line of the cursor.
    return check(marksBecome(4), "the brackets are marked");
}

bool Tour::completeWord()
{
    Kiln::CodeEditor *view = d->window->host().surface()->editor();
    goToLine(lineOf(text(), QStringLiteral("@state walk")));
    if (!check(marksBecome(1), "the brackets are marked no longer"))
        return false;
    type(QStringLiteral("\n    posture: cr"));
    QWidget *words = QApplication::activePopupWidget();
    if (!check(words, "the words of the entry are offered"))
        return false;
    picture(d->step);
    QTest::keyClick(words, Qt::Key_Return);
    const bool completed =
        check(view->textCursor().block().text() == QLatin1String("    posture: crouching"),
              "the word is completed");
    return undoAll() && completed;
}

bool Tour::insertSnippet()
{
    auto *snippets = d->window->findChild<QComboBox *>(QStringLiteral("codeSnippets"));
    snippets->setCurrentText(QStringLiteral("State"));
    goToLine(0);
    const bool filled = throughDialog(
        [this] {
            d->window->findChild<QAction *>(QStringLiteral("code_snippet_insert"))->trigger();
        },
        [this](QDialog *dialog) {
            QTest::keyClicks(dialog->findChild<QLineEdit *>(QStringLiteral("label")),
                             QStringLiteral("lantern"));
            QTest::keyClicks(dialog->findChild<QLineEdit *>(QStringLiteral("cel")),
                             QStringLiteral("wren_lantern"));
            picture(d->step);
            dialog->accept();
            return true;
        });
    const bool inserted =
        check(filled && text().contains(QLatin1String("@state lantern\n    posture: standing\n")),
              "the snippet is in the text, with its fields");
    return undoAll() && inserted;
}

bool Tour::undoAll()
{
    const Kiln::CodeDocument *document = d->window->host().surface()->document();
    const int mostSteps = 50;
    for (int i = 0; i < mostSteps && document->isModified(); ++i)
        QTest::keyClick(d->window->host().surface()->editor(), Qt::Key_Z, Qt::ControlModifier);
    return check(!document->isModified(), "undo goes back to the saved text");
}

bool Tour::typeError()
{
    auto *messages = d->window->findChild<MessagesDock *>();
    auto *tree = d->window->findChild<QTreeView *>(QStringLiteral("code_tree"));
    const int errors = messages->table()->errorCount();
    const int nodes = tree->model()->rowCount();
    type(QStringLiteral("\n\n@state swim\n    posture: floating"));
    const bool told =
        check(messages->table()->errorCount() > errors, "the error is in the table at once") &&
        check(tree->model()->rowCount() == nodes + 1, "the tree has the new node at once");
    messages->show();
    messages->raise();
    picture(d->step);

    const int line = d->window->host().surface()->editor()->textCursor().blockNumber();
    goToLine(0);
    const MessageTable *table = messages->table();
    for (int row = 0; row < table->rowCount(); ++row) {
        Kiln::ProjectFile *file = nullptr;
        const Kiln::Message message = table->messageAt(row, file);
        if (file == d->window->host().deck().currentFile() && message.line == line) {
            messages->view()->setCurrentIndex(table->index(row, 0));
            QTest::keyClick(messages->view(), Qt::Key_Return);
        }
    }
    return told && check(d->window->host().surface()->editor()->textCursor().blockNumber() == line,
                         "the message leads to its line");
}

bool Tour::typeDefinition()
{
    if (!openFromTree(QLatin1String(definitionFile)))
        return false;
    const Kiln::ParentProject *project = d->window->host().session().parentProject();
    const QString added = path(QStringLiteral("heroes/wren/swimming.glow"));
    if (!check(!project->filePath(added), "the file is new to the tree"))
        return false;
    goToLine(lineOf(text(), QStringLiteral("states: hurt.glow")));
    type(QStringLiteral("\n    states: swimming.glow"));
    return check(project->filePath(added) != nullptr, "the tree has the row at once");
}

bool Tour::organize()
{
    if (!openFromTree(QLatin1String(animationFile)))
        return false;
    auto *view = qobject_cast<QListView *>(d->window->host().control(QStringLiteral("org_list")));
    if (!check(view && view->isVisible() && view->model(), "the organizer is there"))
        return false;
    const QAbstractItemModel *list = view->model();
    const auto rowOf = [list](const QString &name) {
        for (int row = 0; row < list->rowCount(); ++row) {
            if (list->index(row, 0).data().toString().startsWith(name))
                return row;
        }
        return -1;
    };
    const int jab = rowOf(QStringLiteral("jab"));
    const int walk = rowOf(QStringLiteral("walk"));
    const QString before = text();
    if (!check(jab > walk && walk > 0, "the sample has the animations"))
        return false;
    dragRow(view, jab, walk);
    const bool moved =
        check(rowOf(QStringLiteral("jab")) == walk, "the drag moves the row") &&
        check(lineOf(text(), QStringLiteral("@animation jab")) <
                  lineOf(text(), QStringLiteral("@animation walk")),
              "the text has the new order") &&
        check(view->selectionModel()->isRowSelected(walk, QModelIndex()), "it stays selected");
    picture(d->step);
    d->window->host().surface()->editor()->setFocus();
    QTest::keyClick(d->window->host().surface()->editor(), Qt::Key_Z, Qt::ControlModifier);
    return moved && check(text() == before, "undo takes the drag back");
}

bool Tour::findText()
{
    if (!openFromTree(QLatin1String(codeFile)))
        return false;
    goToLine(0);
    QTest::keyClick(d->window.get(), Qt::Key_F, Qt::ControlModifier);
    auto *field = d->window->findChild<QLineEdit *>(QStringLiteral("find_text"));
    if (!check(field->isVisible(), "the find bar is there"))
        return false;
    field->clear();
    QTest::keyClicks(field, QStringLiteral("wren_dash"));
    QTest::keyClick(field, Qt::Key_Return);
    const QTextCursor found = d->window->host().surface()->editor()->textCursor();
    return check(found.selectedText() == QLatin1String("wren_dash"), "the text is selected");
}

bool Tour::findInFiles()
{
    QTest::keyClick(d->window->findChild<QLineEdit *>(QStringLiteral("find_text")), Qt::Key_Escape);
    d->window->host().surface()->editor()->setFocus();
    QTest::keyClick(d->window->host().surface()->editor(), Qt::Key_F,
                    Qt::ControlModifier | Qt::ShiftModifier);
    auto *field = d->window->findChild<QLineEdit *>(QStringLiteral("search_text"));
    if (!check(field->isVisible(), "the search is there"))
        return false;
    field->clear();
    QTest::keyClicks(field, QStringLiteral("toward"));
    QTest::keyClick(field, Qt::Key_Return);
    const auto *dock = d->window->findChild<FindInFilesDock *>();
    const bool isDone = QTest::qWaitFor([dock] { return !dock->isSearching(); });
    return check(isDone && dock->hitCount() > 3, "there are hits");
}

bool Tour::saveFile()
{
    if (!openFromTree(QLatin1String(codeFile)))
        return false;
    QTest::keyClick(d->window->host().surface()->editor(), Qt::Key_S, Qt::ControlModifier);
    const QByteArray saved = contentsOf(path(QLatin1String(codeFile)));
    return check(!d->window->host().deck().current()->isModified(), "nothing is left to save") &&
           check(saved.contains("@state swim\r\n    posture: floating\r\n"),
                 "the file has the new lines, with their line ends");
}

// To root nothing is read-only, so the tour is nobody while it saves.
bool Tour::saveReadOnly()
{
    d->window->actions()->saveAll->trigger();
    const QString name = path(QLatin1String(codeFile));
    const QFile::Permissions before = QFile::permissions(name);
    goToLine(0);
    type(QStringLiteral("\n; held back"));
    d->window->host().journal().flush(); // which is not for anybody either
    constexpr QFile::Permissions readOnly = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
    QFile::setPermissions(name, readOnly);
    QFile::setPermissions(d->directory.path(), readOnly | QFile::WriteOwner | QFile::ExeOwner |
                                                   QFile::ExeGroup | QFile::ExeOther);
    const auto become = [wasRoot = geteuid() == 0](uid_t user) {
        return !wasRoot || seteuid(user) == 0;
    };
    constexpr uid_t nobody = 65534;
    const bool told = throughDialog(
        [&] {
            check(become(nobody), "the rights are given up");
            d->window->actions()->saveAll->trigger();
        },
        [&](QDialog *dialog) {
            check(become(0), "the rights are back");
            picture(d->step);
            const auto *box = qobject_cast<QMessageBox *>(dialog);
            dialog->accept();
            return check(box && box->text().contains(QDir::toNativeSeparators(name)),
                         "the report names the file");
        });
    QFile::setPermissions(name, before);
    const bool isUndone = undoAll();
    // The journal is not for nobody either, which is told, and no matter of the next pictures.
    d->window->host().journal().flush();
    d->window->host().status().clearMessage();
    return isUndone && told;
}

bool Tour::settings()
{
    return throughDialog(
        [this] { d->window->actions()->settings->trigger(); },
        [this](QDialog *dialog) {
            auto *pages = dialog->findChild<QTabWidget *>(QStringLiteral("settings_pages"));
            pages->setCurrentIndex(1);
            picture(d->step);
            return check(pages->count() >= 4, "there are pages for code, colours and engines");
        });
}

bool Tour::engines()
{
    Kiln::Engine *engine = d->window->host().engine();
    if (!check(engine->count() > 0, "the sample engine is in the list"))
        return false;
    const Kiln::EngineInstances::Info first = engine->at(0);
    engine->add(first.name + QStringLiteral(" (second)"), first.executable,
                QStringLiteral("--second"), QString());
    return throughDialog([this] { d->window->actions()->engines->trigger(); },
                         [this](QDialog *dialog) {
                             picture(d->step);
                             auto *name =
                                 dialog->findChild<QLineEdit *>(QStringLiteral("engine_name"));
                             return check(name && !name->text().isEmpty(), "the first is shown");
                         });
}

bool Tour::outsideChange()
{
    // For a moment after its own save a file takes every change for that save.
    const Kiln::CodeDocument *document = d->window->host().surface()->document();
    if (!check(QTest::qWaitFor([document] { return !document->isWatchPaused(); }),
               "the file has recognised its own save"))
        return false;
    const QString name = path(QLatin1String(codeFile));
    const QByteArray changed = contentsOf(name) + "; a line of another program\r\n";
    type(QStringLiteral("\n; a line of ours"));
    QFile file(name);
    if (!check(file.open(QIODevice::WriteOnly) && file.write(changed) == changed.size(),
               "another program writes"))
        return false;
    file.close();
    const QWidget *bar = d->window->host().outsideChanges().bar();
    if (!check(QTest::qWaitFor([bar] { return bar->isVisible(); }), "the change is noticed"))
        return false;
    picture(d->step);
    const auto press = [](const QWidget *in, const char *button) {
        auto *found = in->findChild<QPushButton *>(QLatin1String(button));
        if (found)
            found->click();
        return found != nullptr;
    };
    const bool compared =
        throughDialog([&] { press(bar, "changes_compare"); },
                      [&](const QDialog *dialog) { return press(dialog, "changes_take"); });
    return check(compared && !bar->isVisible(), "both texts are compared") &&
           check(text().endsWith(QLatin1String("; a line of another program\n")),
                 "the new contents are shown");
}

bool Tour::runDialog()
{
    d->window->actions()->saveAll->trigger();
    auto *output = d->window->findChild<OutputDock *>();
    const bool chosen = throughDialog([this] { d->window->actions()->run->trigger(); },
                                      [this](QDialog *dialog) {
                                          picture(d->step);
                                          const bool run = qobject_cast<RunDlg *>(dialog);
                                          dialog->accept();
                                          return check(run, "the dialog offers the engines");
                                      });
    return chosen && check(output->text().contains(QLatin1String("Ember game")), "the engine ran");
}

bool Tour::runOutput()
{
    auto *output = d->window->findChild<OutputDock *>();
    return check(output->isVisible(), "the output is shown") &&
           check(output->text().contains(QLatin1String(definitionFile)),
                 "the engine was given the definitions");
}

bool Tour::darkPalette()
{
    d->window->host().settings().setValue("theme", "dark");
    d->window->host().settings().apply();
    if (!openFromTree(QLatin1String(codeFile)))
        return false;
    goToLine(lineOf(text(), QStringLiteral("@@step burst")) + 1);
    const QPalette palette = d->window->host().surface()->editor()->palette();
    return check(Theme::isDark(), "the palette is dark") &&
           check(palette.color(QPalette::Text).lightness() >
                     palette.color(QPalette::Base).lightness(),
                 "the code is light on dark");
}

} // namespace Studio
