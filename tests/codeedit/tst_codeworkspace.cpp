// The shared code view with its actions, and the file editor that shows documents in it.

#include "workspacetest.h"

#include <engines/ember/emberdocument.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/project/archive.h>
#include <kilnx/render/graphicsworkspace.h>
#include <tests/support/files.h>

#include <malloc.h>

using namespace Kiln;

namespace
{
/// A host that has no place for menus, actions and controls.
class SparseHost : public TestHost
{
public:
    QAction *addAction(QWidget *,
                       const QString &,
                       Translator *,
                       int,
                       bool,
                       QObject *,
                       const char *,
                       const char *,
                       const char *) override
    {
        return nullptr;
    }
    QAction *editorAction(const QString &, Translator *, int) override { return nullptr; }
    QWidget *addControl(const QString &, const Control &) override { return nullptr; }
    QWidget *control(const QString &) const override { return nullptr; }
    QMenu *menu(const char *) const override { return nullptr; }
};
} // namespace

class TestCodeWorkspace : public WorkspaceTest
{
    Q_OBJECT

private slots:
    // Whoever reads what is gone finds no document there any more.
    void initTestCase() { mallopt(M_PERTURB, 0x5A); }
    void init() { open(); }
    void cleanup() { close(); }

    void actionsAreMade()
    {
        QCOMPARE(m_workspace->name(), "code");
        QVERIFY(m_host->menu("edit")->actions().contains(m_host->action("code_goto")));
        QVERIFY(m_host->menu("view")->actions().contains(m_host->action("view_code_bar")));
        QMenu *snippets = nullptr;
        for (const QAction *action : m_host->menu("edit")->actions())
            snippets = action->menu() ? action->menu() : snippets;
        QVERIFY(snippets && snippets->actions().contains(m_host->action("code_snippet_new")));
        // In another language all has other names, which come from the same place.
        const QList<QComboBox *> lists = m_workspace->widget()->findChildren<QComboBox *>();
        const auto names = [&] {
            QStringList all{snippets->title(), view()->accessibleName()};
            for (const QComboBox *list : lists)
                all << list->accessibleName() << list->placeholderText();
            return all;
        };
        const QStringList told = names();
        snippets->setTitle("?");
        view()->setAccessibleName("?");
        for (QComboBox *list : lists) {
            list->setAccessibleName("?");
            list->setPlaceholderText(list->objectName() == "codeMessages" ? "?" : QString());
        }
        m_workspace->retranslate();
        QCOMPARE(names(), told);
        QCOMPARE(m_editor->areas(), 5u);
        QCOMPARE(m_host->editorWidget, m_workspace->widget());
        m_editor->deactivate();
        QCOMPARE(m_host->editorWidget, nullptr);
    }

    void messagesAreWalkedByKeys()
    {
        auto *messages = m_workspace->widget()->findChild<QComboBox *>("codeMessages");
        const QSize size = messages->sizeHint();
        m_document->fromString("bad bad " + QString(400, 'x'));
        for (const int column : {1, 5, 7}) {
            select(column, column);
            QTRY_COMPARE(messages->currentIndex(), column < 4 ? 0 : 1);
        }
        QCOMPARE(messages->sizeHint(), size); // whatever the messages are
        QVERIFY(size.width() > messages->fontMetrics().horizontalAdvance(QString(24, 'x')));
        const QString lines(200, '\n');
        m_document->fromString("one\nbad two\n" + lines + "x bad\nend" + lines);
        messages->setFocus();
        QTest::keyClick(messages, Qt::Key_Down);
        QCOMPARE(place(), QPoint(1, 0));
        QVERIFY(view()->hasFocus());
        messages->setFocus();
        QTest::keyClick(messages, Qt::Key_Down);
        QCOMPARE(place(), QPoint(202, 2));
        const int middle = view()->cursorRect().center().y();
        QVERIFY(qAbs(middle - view()->viewport()->height() / 2) <
                2 * view()->cursorRect().height());
        m_document->setModified(false);
    }

    /// The sign of comments is that of the file's project or, without one, of the host's engine.
    void commentsOfAFileWithoutAProject()
    {
        m_document->fromString("a\nb");
        const QChar mark = QLatin1Char(m_host->currentEngine->commentCharacter());
        for (Engine *engine : {m_host->currentEngine, static_cast<Engine *>(nullptr)}) {
            m_host->currentEngine = engine;
            m_workspace->comment();
            QCOMPARE(m_document->toString(), engine ? mark + QString("a\nb") : QString("a\nb"));
            m_document->undo();
        }
    }

    void widgetsStandBelow()
    {
        auto *added = new QLabel("below");
        m_workspace->addWidget(added);
        QTRY_VERIFY(added->isVisible());
        const QRect messages =
            m_workspace->widget()->findChild<QComboBox *>("codeMessages")->geometry();
        QCOMPARE(view()->pos(), QPoint(0, 0));
        QCOMPARE(messages.top(), view()->geometry().bottom() + 1);
        QCOMPARE(added->geometry().top(), messages.bottom() + 1);
        QCOMPARE(added->geometry().bottom(), m_workspace->widget()->rect().bottom());
    }

    void toolBarFollowsItsOption()
    {
        auto *bar = m_workspace->widget()->findChild<QToolBar *>();
        auto *snippets = bar->findChild<QComboBox *>("codeSnippets");
        QAction *action = m_host->action("view_code_bar");
        QVERIFY(!bar->isVisible() && !snippets->isEnabled() && !action->isEnabled());
        m_workspace->activate();
        QVERIFY(!bar->isVisible() && snippets->isEnabled() && action->isEnabled());
        action->trigger();
        QVERIFY(bar->isVisible());
        QTRY_COMPARE(view()->y(), bar->height());
        int separators = 0;
        for (const QAction *each : bar->actions())
            separators += each->isSeparator();
        QCOMPARE(separators, 4);
        QVERIFY(snippets->x() > bar->widgetForAction(m_host->action("code_snippet_edit"))->x());
        QCOMPARE(m_host->options.value("show_code_bar"), QVariant(true));
        m_workspace->deactivate();
        QVERIFY(!bar->isVisible() && !snippets->isEnabled() && !action->isEnabled());
        QCOMPARE(m_host->options.value("show_code_bar"), QVariant(true));
        m_workspace->activate();
        QVERIFY(bar->isVisible());
        QCOMPARE(bar->iconSize(), QSize(16, 16));
    }

    void documentsRememberTheirPlace()
    {
        m_document->fromString(sectionedText(40, 5));
        Document second(new PlainDocument(sectionedText(40, 5)));
        view()->setCurrentLine({300, 3, 290});
        const int scroll = view()->verticalScrollBar()->value();
        m_editor->setCurrentFile(second.get());
        QCOMPARE(place(), QPoint(0, 0));
        QVERIFY(view()->hasFocus());
        view()->setCurrentLine({100, 1, 95});
        m_editor->setCurrentFile(m_document.get());
        QCOMPARE(place(), QPoint(300, 3));
        QCOMPARE(view()->verticalScrollBar()->value(), scroll);
        // One that was shown before may end, too.
        auto *before = new PlainDocument;
        m_editor->setCurrentFile(before);
        m_editor->setCurrentFile(m_document.get());
        before->release();
        QCOMPARE(m_editor->currentFile(), m_document.get());
        QCOMPARE(view()->codeDocument(), m_document.get());
        m_editor->setCurrentFile(nullptr);
        QCOMPARE(view()->toPlainText(), QString());
        QVERIFY(!m_editor->document());
        m_editor->setCurrentFile(second.get());
        QCOMPARE(place(), QPoint(100, 1));
        // A file may end while it is shown.
        second->setModified(true);
        second.reset();
        QVERIFY(!m_editor->document());
        QVERIFY(!m_editor->currentFile());
        QVERIFY(!m_editor->isModified());
        QVERIFY(!view()->isEnabled());
        QCOMPARE(m_host->statusTexts.value(2), QString());
        m_editor->undo();
        m_editor->find("x", Quiet);
        m_editor->navigateTo(3, 3);
        m_editor->setCurrentFile(m_document.get());
        QCOMPARE(place(), QPoint(300, 3));
    }

    void settingsAreRead()
    {
        using Format = CodeEditor::SyntaxFormatting;
        const QList<QPair<const char *, bool Format::*>> flags{
            {"code_line_numbers", &Format::lineNumbers},
            {"code_highlight_line", &Format::highlightLine},
            {"code_highlight_blocks", &Format::highlightBlocks},
            {"code_folding_markers", &Format::foldingMarkers},
            {"code_paren_matching", &Format::parenMatching}};
        const Format &now = view()->syntaxFormatting();
        for (int on = 0; on <= flags.size(); ++on) {
            for (int i = 0; i < flags.size(); ++i)
                QCOMPARE(now.*flags.at(i).second, i < on);
            if (on < flags.size())
                m_host->options[flags.at(on).first] = true;
            m_workspace->reconfig();
        }
        m_host->colors = {{"line", QColor(1, 1, 1)},
                          {"block_range", QColor(2, 2, 2)},
                          {"paren_range", QColor(3, 3, 3)}};
        m_host->secondColors["paren"] = QColor(4, 4, 4);
        const QColor hit = now.hitColor;
        m_workspace->reconfig();
        QCOMPARE(now.hitColor, hit); // nobody has chosen another
        m_host->colors["hit"] = QColor(5, 5, 5);
        m_workspace->reconfig();
        QCOMPARE(now.hitColor, QColor(5, 5, 5));
        QVERIFY(view()->indentation().keep && !view()->indentation().spaces);
        QCOMPARE(view()->indentation().tabWidth, 4);
        m_host->options["code_auto_indent"] = false;
        m_host->options["code_tab_width"] = 8;
        m_workspace->reconfig();
        QVERIFY(!view()->indentation().keep && !view()->indentation().spaces);
        QCOMPARE(view()->indentation().tabWidth, 8);
        QCOMPARE(now.lineColor, QColor(1, 1, 1));
        QCOMPARE(now.blockColor, QColor(2, 2, 2));
        QCOMPARE(now.parenRange.background().color(), QColor(3, 3, 3));
        QCOMPARE(now.parenMatch.foreground().color(), QColor(4, 4, 4));
    }

    void zoom()
    {
        const auto sizes = [&] {
            return QPoint(view()->font().pointSize(), m_document->defaultFont().pointSize());
        };
        m_workspace->zoomActual();
        QCOMPARE(sizes(), QPoint(11, 11));
        m_workspace->zoomIn();
        QCOMPARE(sizes(), QPoint(13, 13));
        m_host->options.remove("font_size");
        m_workspace->zoomActual();
        QCOMPARE(sizes(), QPoint(10, 10));
        m_host->options["font_size"] = 13;
        m_workspace->zoomActual();
        Document second(new PlainDocument);
        m_editor->setCurrentFile(second.get());
        QCOMPARE(second->defaultFont().pointSize(), 13);
        m_editor->setCurrentFile(m_document.get());
        for (const int size : {11, 9, 7, 5, 4, 4}) { // and no smaller
            m_workspace->zoomOut();
            QCOMPARE(sizes(), QPoint(size, size));
        }
    }

    void codeStandsInColumns_data()
    {
        // Who asks for letters of different widths has them.
        const auto add = columns<QString, bool>("family", "columns");
        add("the family of the options", "Courier", true);
        add("none chosen", "", true);
        add("a missing family", "a family that nobody has", true);
        add("one that is there", "Liberation Serif", false);
    }

    void codeStandsInColumns()
    {
        const auto [family, columns] = row<QString, bool>();
        m_host->options["font_name"] = family;
        m_workspace->reconfig();
        m_document->fromString("iiiiiiii\nWWWWWWWW\n9 m , _ ");
        QSet<int> ends;
        for (int line = 0; line < 3; ++line) {
            const QTextBlock block = m_document->findBlockByNumber(line);
            QTextCursor cursor(block);
            cursor.setPosition(block.position() + 8);
            ends << view()->cursorRect(cursor).left();
        }
        QCOMPARE(view()->font().pointSize(), 11);
        QCOMPARE(ends.size() == 1, columns);
    }

    /// The same on a machine whose names of fixed fonts lead to letters of different widths: fonts
    /// are found when a program starts, so that another has to tell.
    void columnsWhereNamesMislead()
    {
        const QString rules = m_directory->filePath("fonts.conf");
        const QByteArray serif = "<edit name='family' mode='prepend' binding='%'>"
                                 "<string>DejaVu Serif</string></edit></match>";
        writeFile(
            rules,
            "<fontconfig><match target='pattern'>" + QByteArray(serif).replace('%', "weak") +
                "<match target='pattern'><test name='family'><string>Courier</string></test>" +
                QByteArray(serif).replace('%', "strong") +
                "<include>" KILN_SOURCE_DIR "/cmake/fonts.conf</include></fontconfig>");
        QProcess other;
        other.setProcessChannelMode(QProcess::ForwardedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("FONTCONFIG_FILE", rules);
        other.setProcessEnvironment(environment);
        other.start(QCoreApplication::applicationFilePath(), {"-silent", "codeStandsInColumns"});
        QVERIFY(other.waitForFinished());
        QCOMPARE(other.exitCode(), 0);
    }

    void goToLine()
    {
        m_document->fromString(sectionedText(40, 5));
        view()->setCurrentLine(20, CodeEditor::NoPlacement);
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            QCOMPARE(static_cast<QInputDialog *>(dialog)->intValue(), 21);
            static_cast<QInputDialog *>(dialog)->setIntValue(300);
            dialog->accept();
        });
        m_host->action("code_goto")->trigger();
        QCOMPARE(view()->cursorForPosition(QPoint(0, 1)).blockNumber(), 299);
    }

    void steppingThroughMessages_data()
    {
        const auto add = columns<QString, QPoint, QPoint>("action", "from", "to");
        const QPoint first(0, 2), second(0, 6), third(3, 0), old(2, 3);
        add("to the next in the line", "code_next_error", first, second);
        add("to the next line", "code_next_error", second, third);
        add("from the start", "code_next_error", QPoint(0, 0), first);
        add("to the first of a line", "code_next_error", third, QPoint(4, 0));
        add("no error follows", "code_next_error", QPoint(4, 4), QPoint(4, 4));
        add("a line back, its last error", "code_prev_error", QPoint(2, 0), second);
        add("back in the line", "code_prev_error", QPoint(0, 10), second);
        add("back to the first", "code_prev_error", second, first);
        add("back from its end", "code_prev_error", QPoint(0, 9), first);
        add("none before", "code_prev_error", first, first);
        add("to a deprecation", "code_next_deprecation", QPoint(0, 0), old);
        add("back to a deprecation", "code_prev_deprecation", third, old);
        add("no deprecation follows", "code_next_deprecation", third, third);
    }

    void steppingThroughMessages()
    {
        const auto [action, from, to] = row<QString, QPoint, QPoint>();
        m_document->fromString("x bad bad y\nno\nan old hmm\nbad\nbad bad");
        const QTextBlock block = m_document->findBlockByNumber(from.x());
        select(block.position() + from.y(), block.position() + from.y());
        m_host->action(action.toLatin1())->trigger();
        QTEST(place(), "to");
        QCOMPARE(view()->textCursor().hasSelection(), false);
    }

    void snippetOfAnotherFileIsDropped()
    {
        RegularSnipField field("string");
        field.name = "a";
        const QString folder =
            m_directory->path() + m_host->currentEngine->enginePath() + "/snippets";
        QVERIFY(QDir().mkpath(folder));
        writeFile(folder + "/ask.xml", snippetToXml({&field}, "code"));
        m_workspace->engineSwitched(false);
        QCOMPARE(SnippetManager::instance()->rowCount(), 0);
        m_workspace->engineSwitched(true);
        QCOMPARE(m_workspace->widget()->findChild<QComboBox *>("codeSnippets")->currentText(),
                 QString("ask"));
        Document second(new PlainDocument("second"));
        m_host->dialogs().expectDialog([&](QDialog *dialog) {
            m_editor->setCurrentFile(second.get());
            dialog->accept();
        });
        m_workspace->snipInsert();
        QCOMPARE(second->toString(), QString("second"));
        QCOMPARE(m_document->toString(), QString());
        // The go-to and the encoding dialogs, while another file comes, and while the file ends.
        m_document->fromString("a\nb\nc");
        for (const bool ends : {false, true}) {
            for (int which = 0; which < 2; ++which) {
                if (!second)
                    second.reset(new PlainDocument("second"));
                m_editor->setCurrentFile(second.get());
                m_host->dialogs().expectDialog([&](QDialog *dialog) {
                    if (auto *input = qobject_cast<QInputDialog *>(dialog))
                        input->setIntValue(2);
                    if (ends)
                        second.reset();
                    else
                        m_editor->setCurrentFile(m_document.get());
                    dialog->accept();
                });
                which ? m_workspace->statusClicked() : m_workspace->goToLine();
                QCOMPARE(m_editor->document(), ends ? nullptr : m_document.get());
                QCOMPARE(place(), QPoint(0, 0));
            }
        }
    }

    /// Who hears of a line that is chosen may open another file, or close this one.
    void filesGoAsTheirLineIsChosen()
    {
        for (const int kind : {0, 1, 2, 3}) {
            const bool ends = kind & 1;
            m_document->fromString(sectionedText(40, 5));
            Document going(new PlainDocument(m_document->toString()));
            m_editor->setCurrentFile(going.get());
            bool heard = false;
            QObject listener;
            connect(view(), &CodeEditor::currentLineChanged, &listener, [&] {
                if (std::exchange(heard, true))
                    return;
                ends ? going.reset() : m_editor->setCurrentFile(m_document.get());
            });
            if (kind & 2)
                m_editor->navigateTo(99, 2);
            else
                view()->setCurrentLine({99, 2, 90});
            QVERIFY(heard);
            QCOMPARE(m_editor->document(), ends ? nullptr : m_document.get());
            QCOMPARE(place(), QPoint(0, 0));
            QCOMPARE(view()->verticalScrollBar()->value(), 0);
        }
    }

    /// A file may end while it is asked about.
    void encodingOfAFileThatEnds()
    {
        const QString path = m_directory->filePath("file");
        writeFile(path, "text");
        Document going(new PlainDocument);
        QVERIFY(going->fromFile(FileSystemArchive::instance(), path, false));
        m_editor->setCurrentFile(going.get());
        m_host->dialogs().expectDialog([](QDialog *dialog) { dialog->accept(); });
        m_host->dialogs().expectDialog([&going](QDialog *question) {
            going.reset();
            static_cast<QMessageBox *>(question)->button(QMessageBox::Yes)->click();
        });
        m_workspace->statusClicked();
        QVERIFY(!m_editor->document());
        QCOMPARE(m_host->statusTexts.value(2), QString());
    }

    /// A file that is nowhere yet is not asked about.
    void encodingOfAnUnsavedFile()
    {
        m_host->dialogs().expectDialog([](QDialog *dialog) { dialog->accept(); });
        m_workspace->statusClicked();
        QVERIFY(!m_document->isModified()); // it is the same
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            auto *codecs = dialog->findChild<QComboBox *>("codePage");
            QVERIFY(!dialog->findChild<QDialogButtonBox *>()->geometry().intersects(
                codecs->geometry()));
            codecs->setCurrentText("ISO-8859-1");
            dialog->accept();
        });
        m_workspace->statusClicked();
        QVERIFY(m_document->isModified());
        QCOMPARE(m_document->codecName(), QString("ISO-8859-1"));
        QCOMPARE(m_host->statusTexts.value(2), QString("Encoding: ISO-8859-1"));
    }

    void statusAndModification()
    {
        m_document->fromString("a\nbad b\nc");
        QSignalSpy modified(m_editor.get(), &CodeFileEditor::modified);
        select(4, 4);
        QCOMPARE(m_host->statusTexts.value(0), QString("Line: 2, Column: 3, Line count: 3"));
        QCOMPARE(m_host->statusTexts.value(1), QString("Syntax error count: 1"));
        // They say nothing while another editor is shown.
        m_editor->deactivate();
        m_workspace->deactivate();
        QCOMPARE(QStringList(m_host->statusTexts.values()).join(""), QString());
        m_workspace->activate();
        m_editor->activate();
        QCOMPARE(m_host->statusTexts.value(0), QString("Line: 2, Column: 3, Line count: 3"));
        QCOMPARE(m_host->statusTexts.value(2), QString("Encoding: UTF-8"));
        const QMap<int, QString> told = std::exchange(m_host->statusTexts, {});
        m_workspace->retranslate();
        m_editor->retranslate();
        QCOMPARE(m_host->statusTexts, told);
        QTest::keyClicks(view(), "d");
        QVERIFY(modified.size() > 0);
        QVERIFY(m_editor->isModified());
        m_editor->undo();
        QVERIFY(!m_editor->isModified());
        select(0, 0);
        m_editor->redo();
        QCOMPARE(place(), QPoint(1, 3));
        m_editor->undo();
        const QString spaces = QString::fromUtf8("no\u00a0break\nthin\u2009 end");
        m_document->fromString(spaces);
        view()->selectAll();
        m_editor->copy();
        QTest::keyClick(view(), Qt::Key_Delete);
        m_editor->paste();
        QCOMPARE(m_document->toRawText().replace(QChar::ParagraphSeparator, '\n'), spaces);
        view()->selectAll();
        m_editor->cut();
        m_editor->paste();
        QCOMPARE(m_document->toRawText().replace(QChar::ParagraphSeparator, '\n'), spaces);
        m_document->fromString("a\nbad b\nc");
        m_editor->navigateTo(1, 4);
        QCOMPARE(place(), QPoint(1, 4));
        m_editor->navigateTo(9, 99);
        QCOMPARE(place(), QPoint(2, 1));
        m_document->fromString(sectionedText(40, 5));
        m_editor->navigateTo(300, 0);
        QVERIFY(qAbs(view()->cursorRect().center().y() - view()->viewport()->height() / 2) < 30);
        // Columns count code units, as those of messages do.
        m_document->fromString(QString::fromUtf8("\U0001F3AE\U0001F3AE bad\nnext"));
        m_editor->navigateTo(0, 5);
        QCOMPARE(place(), QPoint(0, 5));
        m_document->setModified(false);

        m_editor->activate(); // once more
        m_editor->deactivate();
        modified.clear();
        m_host->statusTexts.clear();
        select(0, 0);
        QTest::keyClicks(view(), "x");
        m_document->setModified(false);
        QCOMPARE(modified.size(), 0);
        QVERIFY(!m_host->statusTexts.contains(0));
    }

    void editorsShareTheView()
    {
        m_host->log.clear();
        TestedEditor other(m_workspace.get());
        const TestedEditor treeless(m_workspace.get(), nullptr);
        QCOMPARE(m_host->log, QStringList()); // there is one tree
        auto *tree = qobject_cast<QTreeView *>(m_host->control("code_tree"));
        Document first(new EmberDocument(EmberDocument::Character));
        first->fromString("@about\ntitle: \"A\"\n@body\nlife: 10\n");
        Document second(new EmberDocument(EmberDocument::Commands));
        second->fromString("@command a\npress: up\n");
        m_editor->setCurrentFile(first.get());
        emit tree->activated(tree->model()->index(1, 0));
        QCOMPARE(place(), QPoint(2, 0));
        // Rows that were opened by hand are closed, too.
        tree->expand(tree->model()->index(1, 0));
        m_host->options["auto_expand_tree"] = true;
        view()->setCurrentLine(0, CodeEditor::NoPlacement);
        QVERIFY(!tree->isExpanded(tree->model()->index(1, 0)));
        QVERIFY(tree->isExpanded(tree->model()->index(0, 0)));
        QCOMPARE(tree->currentIndex(), tree->model()->index(0, 0));
        // So is the row of a file that is shown or loaded again.
        m_editor->setCurrentFile(nullptr);
        m_editor->setCurrentFile(first.get());
        QCOMPARE(tree->currentIndex(), tree->model()->index(0, 0));
        first->fromString(first->toString());
        QTRY_COMPARE(tree->currentIndex(), tree->model()->index(0, 0));
        // As a host goes from one to the other: the file first, then the editors.
        other.setCurrentFile(second.get());
        m_editor->deactivate();
        other.activate();
        QCOMPARE(view()->codeDocument(), second.get());
        QCOMPARE(tree->model(), second->model());
        QCOMPARE(m_host->statusTexts.value(0), QString("Line: 1, Column: 1, Line count: 3"));
        m_host->statusTexts.clear();
        view()->setCurrentLine(1, CodeEditor::NoPlacement);
        QVERIFY(m_host->statusTexts.value(0).startsWith("Line: 2,"));
        QCOMPARE(tree->selectionModel()->selectedIndexes().size(), 1);
        // The file of the editor that is not shown goes away: nothing is seen of it.
        m_editor->setCurrentFile(nullptr);
        QCOMPARE(view()->codeDocument(), second.get());
        QCOMPARE(tree->model(), second->model());
        m_editor->setCurrentFile(first.get());
        QCOMPARE(view()->codeDocument(), first.get());
        other.activate(); // once more
        other.deactivate();
        const QModelIndex before = tree->currentIndex();
        view()->setCurrentLine(1, CodeEditor::NoPlacement);
        QCOMPARE(tree->currentIndex(), before);
        for (const bool isActive : {false, true}) {
            if (isActive)
                other.activate();
            emit tree->activated(tree->model()->index(0, 0));
            QCOMPARE(place(), QPoint(isActive ? 0 : 1, 0));
        }
        QCOMPARE(view()->codeDocument(), second.get());
        // What the other editor is told is for its own file, not for the one in the view.
        QTextCursor all = view()->textCursor();
        all.select(QTextCursor::Document);
        view()->setTextCursor(all);
        m_editor->replace("command", "x", 0, true);
        m_editor->cut();
        QCOMPARE(second->toString(), QString("@command a\npress: up\n"));
        first->insertOnCursor(QString("@"), QTextCursor(first->lastBlock()));
        m_editor->undo();
        QCOMPARE(view()->textCursor().selectedText().size(), 21);
        m_editor->navigateTo(3, 2);
        QVERIFY(m_editor->find(first.get(), "life", 0));
        QCOMPARE(view()->textCursor().selectedText().size(), 21);
        m_editor->setCurrentFile(first.get());
        QCOMPARE(place(), QPoint(3, 0));
        other.setCurrentFile(second.get());
        m_editor->navigateTo(2, 3);
        m_editor->setCurrentFile(first.get());
        QCOMPARE(place(), QPoint(2, 3));
        // The place is seen with lines above it, also where folds above make the view shorter.
        first->fromString(QString("@body\n" + QString("life: 1\n").repeated(40)).repeated(10));
        QTextCursor(first->findBlockByNumber(300)).insertText("@about");
        for (const bool finds : {false, true}) {
            view()->toggleBlockVisible(first->findBlockByNumber(finds ? 41 : 0));
            other.setCurrentFile(second.get());
            if (finds)
                QVERIFY(m_editor->find(first.get(), "@about", 0));
            else
                m_editor->navigateTo(210, 2);
            m_editor->setCurrentFile(first.get());
            QCOMPARE(place(), finds ? QPoint(300, 0) : QPoint(210, 2));
            const int height = view()->viewport()->height();
            QVERIFY(qAbs(view()->cursorRect().center().y() - height / 2) < height / 4);
        }
        other.setCurrentFile(second.get());
        other.setCurrentFile(nullptr);
        QVERIFY(!view()->isEnabled());
        m_editor->setCurrentFile(nullptr);
    }

    void nothingWithoutADocument()
    {
        m_document->fromString("x\nbad\n[x]\ny\nz");
        select(0, 0);
        view()->setReadOnly(true);
        for (int round = 0; round < 2; ++round) {
            for (const char *key :
                 {"code_goto", "code_prev_error", "code_next_error", "code_prev_deprecation",
                  "code_next_deprecation", "code_comment", "code_fold_all", "code_unfold_all",
                  "code_snippet_insert", "code_snippet_new", "code_snippet_edit"})
                m_host->action(key)->trigger();
            QCOMPARE(m_document->toString(), QString("x\nbad\n[x]\ny\nz"));
            QCOMPARE(m_document->lineCount(), 5);
            QCOMPARE(place(), QPoint(0, 0));
            m_editor->setCurrentFile(nullptr);
        }
        QVERIFY(!m_host->action("code_goto")->isEnabled());
        struct Unsaved : PlainDocument {
            bool canSave() const override { return false; }
        } unsaved;
        m_editor->setCurrentFile(&unsaved);
        QVERIFY(view()->isReadOnly());
        m_editor->setCurrentFile(nullptr);
        m_workspace->statusClicked();
        m_workspace->zoomIn();
        m_workspace->retranslate();
        QCOMPARE(m_workspace->widget()->findChild<QComboBox *>("codeMessages")->placeholderText(),
                 QString("No messages"));
    }

    void hostMakesNothing()
    {
        m_editor.reset();
        m_workspace.reset();
        m_host.reset();
        m_host = std::make_unique<SparseHost>();
        m_host->options["show_code_bar"] = true;
        m_workspace = std::make_unique<CodeWorkspace>(*m_host);
        m_editor = std::make_unique<TestedEditor>(m_workspace.get());
        OrganizerEditor organizer;
        GraphicsWorkspace graphics(*m_host);
        m_workspace->activate();
        graphics.reconfig();
        m_editor->activate();
        m_editor->setCurrentFile(m_document.get());
        QTest::keyClicks(view(), "text");
        m_workspace->showTextBar(false);
        QCOMPARE(m_host->options.value("show_code_bar"), QVariant(false));
        m_workspace->widget()->show();
        for (const QMenu *menu : m_workspace->widget()->findChildren<QMenu *>())
            QVERIFY(menu->isWindow() && !menu->isVisible());
        m_workspace->widget()->hide();
        m_workspace->retranslate();
        m_workspace->deactivate();
        m_editor->deactivate();
        QCOMPARE(m_document->toString(), QString("text"));
    }
};

QTEST_MAIN(TestCodeWorkspace)
#include "tst_codeworkspace.moc"
