#include <kilnx/codeedit/codeworkspace.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/codeedit/codefont_p.h>
#include <kilnx/codeedit/messagechoice_p.h>
#include <kilnx/codeedit/snipdlg.h>
#include <kilnx/codeedit/snippets.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/messages.h>

#include <QtCore/QPointer>
#include <QtCore/QRegExp>
#include <QtGui/QStandardItemModel>
#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QVBoxLayout>

namespace Kiln
{

namespace
{
constexpr int ToolBarIcon = 16; // pixels
constexpr int ZoomStep = 2;     // points
constexpr int SmallestFont = 4;
constexpr int DefaultFontSize = 10;
constexpr int MessageWidth = 24; // characters of the list of messages, to start with

// The texts of KilnTranslator.
QComboBox *createList(QWidget *parent, const char *name, const QString &accessibleName)
{
    auto *list = new QComboBox(parent);
    list->setObjectName(QString::fromLatin1(name));
    list->setAccessibleName(accessibleName);
    // Any other policy looks at every row each time a row comes or goes.
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->setMinimumContentsLength(MessageWidth);
    return list;
}
} // namespace

class CodeWorkspacePrivate
{
public:
    Interface *host = nullptr;
    std::unique_ptr<QWidget> widget;
    QVBoxLayout *layout = nullptr;
    CodeEditor *editor = nullptr;
    QToolBar *toolBar = nullptr;
    QComboBox *messages = nullptr;
    std::unique_ptr<MessageChoice> chosenMessage;
    QComboBox *snippets = nullptr;
    QPointer<QAction> viewCodeBar;
    QPointer<QMenu> snippetMenu;
    QMetaObject::Connection documentEnded;
    QVector<QAction *> actions; ///< those of the tool bar, null for a separator
};

CodeWorkspace::CodeWorkspace(Interface &host)
    : Workspace(host)
    , d(std::make_unique<CodeWorkspacePrivate>())
{
    d->host = &host;
    d->widget = std::make_unique<QWidget>();
    d->editor = new CodeEditor(d->widget.get());
    d->editor->setObjectName(QStringLiteral("codeEditor"));
    d->editor->setAccessibleName(tr("Code"));
    d->widget->setFocusProxy(d->editor);
    createActions();
    createToolBar();
    d->messages = createList(d->widget.get(), "codeMessages", tr("Messages of the file"));
    d->chosenMessage = std::make_unique<MessageChoice>(d->messages, d->editor);
    d->layout = new QVBoxLayout(d->widget.get());
    d->layout->setContentsMargins(0, 0, 0, 0);
    d->layout->setSpacing(0);
    d->layout->addWidget(d->toolBar);
    d->layout->addWidget(d->editor, 1);
    d->layout->addWidget(d->messages);
    connect(d->messages, QOverload<int>::of(&QComboBox::activated), this, [this](int row) {
        const auto *list = dynamic_cast<const Messages *>(d->messages->model());
        if (!list || !d->editor->codeDocument())
            return;
        const Message message = list->at(static_cast<unsigned int>(row), Message::All);
        d->editor->setCurrentLine({message.line, message.column, message.line});
        d->editor->centerCursor();
        d->editor->setFocus();
    });
    setDocument(nullptr);
}

CodeWorkspace::~CodeWorkspace() = default;

void CodeWorkspace::createActions()
{
    Translator *texts = KilnTranslator::instance();
    QMenu *edit = d->host->menu("edit");
    const auto add = [this, texts](QWidget *menu, const char *key, int text, const char *slot) {
        QAction *action = d->host->addAction(menu, QString::fromLatin1(key), texts, text,
                                             text == KilnTranslator::CodeBarText, this, slot);
        return action;
    };
    d->viewCodeBar = add(d->host->menu("view"), "view_code_bar", KilnTranslator::CodeBarText,
                         SLOT(showTextBar(bool)));
    enableBarAction(false);
    QWidget *owner = edit ? static_cast<QWidget *>(edit) : d->widget.get();
    d->snippetMenu = new QMenu(texts->text(KilnTranslator::SnippetsText), owner);
    if (edit)
        edit->addMenu(d->snippetMenu);
    QAction *insert = add(d->snippetMenu, "code_snippet_insert", KilnTranslator::SnippetInsertText,
                          SLOT(snipInsert()));
    QAction *create =
        add(d->snippetMenu, "code_snippet_new", KilnTranslator::SnippetNewText, SLOT(snipNew()));
    QAction *change =
        add(d->snippetMenu, "code_snippet_edit", KilnTranslator::SnippetEditText, SLOT(snipEdit()));
    d->actions << add(edit, "code_goto", KilnTranslator::GoToText, SLOT(goToLine())) << nullptr
               << add(edit, "code_prev_error", KilnTranslator::PrevErrorText, SLOT(prevError()))
               << add(edit, "code_next_error", KilnTranslator::NextErrorText, SLOT(nextError()))
               << add(edit, "code_prev_deprecation", KilnTranslator::PrevDeprecationText,
                      SLOT(prevDepr()))
               << add(edit, "code_next_deprecation", KilnTranslator::NextDeprecationText,
                      SLOT(nextDepr()))
               << nullptr << add(edit, "code_comment", KilnTranslator::CommentText, SLOT(comment()))
               << nullptr
               << add(edit, "code_fold_all", KilnTranslator::FoldAllText, SLOT(foldAll()))
               << add(edit, "code_unfold_all", KilnTranslator::UnfoldAllText, SLOT(unfoldAll()))
               << nullptr << insert << create << change;
}

/// A host may have made no action.
void CodeWorkspace::enableBarAction(bool enabled)
{
    if (d->viewCodeBar)
        d->viewCodeBar->setEnabled(enabled);
}

void CodeWorkspace::createToolBar()
{
    d->toolBar = new QToolBar(d->widget.get());
    d->toolBar->setObjectName(QStringLiteral("codeToolBar"));
    d->toolBar->hide();
    for (QAction *action : qAsConst(d->actions)) {
        if (action)
            d->toolBar->addAction(action);
        else
            d->toolBar->addSeparator();
    }
    d->snippets = createList(d->toolBar, "codeSnippets", tr("Code snippets"));
    d->snippets->setModel(SnippetManager::instance());
    d->snippets->setEnabled(false);
    d->toolBar->addWidget(d->snippets);
}

const char *CodeWorkspace::name() const
{
    return "code";
}

QWidget *CodeWorkspace::widget() const
{
    return d->widget.get();
}

CodeEditor *CodeWorkspace::editor() const
{
    return d->editor;
}

void CodeWorkspace::addWidget(QWidget *widget)
{
    d->layout->addWidget(widget);
}

void CodeWorkspace::release()
{
    delete this;
}

void CodeWorkspace::rememberPlace(QTextDocument *document, const CodeEditor::LinePos &place)
{
    document->setObjectName(
        QStringLiteral("%1,%2,%3").arg(place.line).arg(place.column).arg(place.scroll));
}

void CodeWorkspace::setDocument(CodeDocument *document)
{
    static QStandardItemModel noMessages;
    // A combo box only reads its model, and a file shows its messages to readers only.
    QAbstractItemModel *messages =
        document ? const_cast<Messages *>(document->messages()) : nullptr;
    d->messages->setModel(messages ? messages : &noMessages);
    d->chosenMessage->follow(document ? document->messages() : nullptr);
    if (CodeDocument *old = d->editor->codeDocument())
        rememberPlace(old, d->editor->currentLine());
    d->editor->setDocument(document);
    d->editor->setEnabled(document);
    d->editor->setReadOnly(document && !document->canSave());
    for (QAction *action : qAsConst(d->actions)) {
        if (action)
            action->setEnabled(document);
    }
    QObject::disconnect(d->documentEnded);
    if (!document) {
        d->host->setStatusText(Interface::EncodingField, QString());
        return;
    }
    // The editor lets go of a document that is destroyed; the rest follows.
    d->documentEnded =
        connect(document->model(), &QObject::destroyed, this, [this] { setDocument(nullptr); });
    QTextDocument *text = document;
    // A save may have gone over to UTF-8.
    connect(text, &QTextDocument::modificationChanged, this, &CodeWorkspace::updateStatus,
            Qt::UniqueConnection);
    // Every line is laid out anew after this.
    if (text->defaultFont() != d->editor->font())
        text->setDefaultFont(d->editor->font());
    const QString stored = text->objectName();
    const QStringList place = stored.split(QLatin1Char(','));
    d->editor->setCurrentLine(
        {place.value(0).toInt(), place.value(1).toInt(), place.value(2).toInt()});
    d->editor->setFocus(Qt::OtherFocusReason);
    updateStatus();
}

void CodeWorkspace::updateStatus()
{
    if (CodeDocument *document = d->editor->codeDocument())
        d->host->setStatusText(Interface::EncodingField,
                               tr("Encoding: %1").arg(document->codecName()));
}

void CodeWorkspace::engineSwitched(bool switched)
{
    const Engine *engine = d->host->engine();
    if (!switched || !engine)
        return;
    d->editor->completerFromFile(d->host->dataPath() + engine->enginePath() +
                                 QStringLiteral("/completer.xml"));
    SnippetManager::instance()->setDirectory(d->host->userPath() + engine->enginePath() +
                                             QStringLiteral("/snippets"));
    d->snippets->setCurrentIndex(0);
}

void CodeWorkspace::activate()
{
    const bool shown = d->host->option(QStringLiteral("show_code_bar"), QVariant()).toBool();
    if (d->viewCodeBar)
        d->viewCodeBar->setChecked(shown);
    d->toolBar->setVisible(shown);
    enableBarAction(true);
    d->snippets->setEnabled(true);
    updateStatus();
}

void CodeWorkspace::deactivate()
{
    d->toolBar->hide();
    enableBarAction(false);
    d->snippets->setEnabled(false);
    d->host->setStatusText(Interface::EncodingField, QString());
}

void CodeWorkspace::showTextBar(bool shown)
{
    d->toolBar->setVisible(shown);
    const bool isChecked = d->viewCodeBar ? d->viewCodeBar->isChecked() : shown;
    d->host->setOption(QStringLiteral("show_code_bar"), isChecked);
}

void CodeWorkspace::reconfig()
{
    CodeEditor::SyntaxFormatting format;
    const auto flag = [this](const char *key) {
        return d->host->option(QString::fromLatin1(key), QVariant()).toBool();
    };
    format.lineNumbers = flag("code_line_numbers");
    format.highlightLine = flag("code_highlight_line");
    format.highlightBlocks = flag("code_highlight_blocks");
    format.foldingMarkers = flag("code_folding_markers");
    format.parenMatching = flag("code_paren_matching");
    // A host that has no such colour leaves the default.
    const QColor line = d->host->colorOption(QStringLiteral("line"));
    const QColor block = d->host->colorOption(QStringLiteral("block_range"));
    const QColor range = d->host->colorOption(QStringLiteral("paren_range"));
    const QColor paren = d->host->colorOption2(QStringLiteral("paren"));
    const QColor hit = d->host->colorOption(QStringLiteral("hit"));
    if (line.isValid())
        format.lineColor = line;
    if (block.isValid())
        format.blockColor = block;
    if (range.isValid())
        format.parenRange.setBackground(range);
    if (paren.isValid())
        format.parenMatch.setForeground(paren);
    if (hit.isValid())
        format.hitColor = hit;
    d->editor->setSyntaxFormatting(format);
    const int tabWidth =
        d->host->option(QStringLiteral("code_tab_width"), CodeEditor::Indentation().tabWidth)
            .toInt();
    const bool keepsIndent = d->host->option(QStringLiteral("code_auto_indent"), true).toBool();
    d->editor->setIndentation({keepsIndent, flag("code_tab_spaces"), tabWidth});
    d->editor->setLineWrapMode(flag("code_wrap") ? QPlainTextEdit::WidgetWidth
                                                 : QPlainTextEdit::NoWrap);
    d->toolBar->setIconSize(QSize(ToolBarIcon, ToolBarIcon));
    zoomActual();
}

void CodeWorkspace::retranslate()
{
    const Translator *texts = KilnTranslator::instance();
    if (d->snippetMenu)
        d->snippetMenu->setTitle(texts->text(KilnTranslator::SnippetsText));
    d->editor->setAccessibleName(tr("Code"));
    d->messages->setAccessibleName(tr("Messages of the file"));
    d->chosenMessage->look();
    d->snippets->setAccessibleName(tr("Code snippets"));
    updateStatus();
}

void CodeWorkspace::setCodeFont(const QFont &font)
{
    d->editor->setFont(font);
}

void CodeWorkspace::zoomActual()
{
    const int size = d->host->option(QStringLiteral("font_size"), QVariant()).toInt();
    const QString family = d->host->option(QStringLiteral("font_name"), QVariant()).toString();
    setCodeFont(codeFont(family, size > 0 ? size : DefaultFontSize));
}

void CodeWorkspace::zoomIn()
{
    QFont font = d->editor->font();
    font.setPointSize(font.pointSize() + ZoomStep);
    setCodeFont(font);
}

void CodeWorkspace::zoomOut()
{
    QFont font = d->editor->font();
    font.setPointSize(qMax(SmallestFont, font.pointSize() - ZoomStep));
    setCodeFont(font);
}

void CodeWorkspace::statusClicked()
{
    CodeDocument *document = d->editor->codeDocument();
    if (!document)
        return;
    QPointer<QAbstractItemModel> alive = document->model();
    QDialog dialog(d->host->mainWindow());
    dialog.setWindowTitle(tr("Encoding"));
    auto *codecs = new QComboBox(&dialog);
    codecs->setObjectName(QStringLiteral("codePage"));
    for (int id = 0; id < TextCodecs::count(); ++id)
        codecs->addItem(TextCodecs::name(id));
    codecs->setCurrentIndex(document->codecId());
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *form = new QFormLayout(&dialog);
    form->addRow(tr("&Encoding:"), codecs);
    form->addRow(buttons);
    if (dialog.exec() != QDialog::Accepted || !alive)
        return;
    const bool changes = document->codecId() != codecs->currentIndex();
    document->setCodecId(codecs->currentIndex());
    QString question = tr("Do you want to reload the file using the specified encoding?");
    if (static_cast<QTextDocument *>(document)->isModified())
        question += QStringLiteral("\n\n") + tr("Its unsaved changes will be lost.");
    const bool reloads = static_cast<ProjectFile *>(document)->fileExists() &&
                         askQuestion(d->host->mainWindow(), tr("Reload"), question);
    if (!alive)
        return;
    if (reloads)
        document->reload();
    else if (changes)
        static_cast<QTextDocument *>(document)->setModified(true); // the next save writes it so
    updateStatus();
}

bool CodeWorkspace::canEdit() const
{
    return !d->editor->isReadOnly() && d->editor->codeDocument();
}

// A dialog may outlive the file that it was opened for, or its place in the view.
bool CodeWorkspace::showsStill(const QPointer<QAbstractItemModel> &model) const
{
    return model && canEdit() && d->editor->codeDocument()->model() == model;
}

void CodeWorkspace::goToLine()
{
    if (!canEdit())
        return;
    QPointer<QAbstractItemModel> alive = d->editor->codeDocument()->model();
    const QString title = KilnTranslator::instance()->text(KilnTranslator::GoToText);
    QInputDialog dialog(d->host->mainWindow());
    dialog.setWindowTitle(title);
    dialog.setLabelText(tr("Line:"));
    dialog.setInputMode(QInputDialog::IntInput);
    dialog.setIntRange(1, std::numeric_limits<int>::max());
    dialog.setIntValue(d->editor->currentLine().line + 1);
    if (dialog.exec() != QDialog::Accepted || !showsStill(alive))
        return;
    int line = dialog.intValue();
    if (line > d->editor->document()->blockCount()) {
        if (!askQuestion(d->host->mainWindow(), title,
                         tr("Invalid line! Do you want go to the last line?"), true) ||
            !showsStill(alive))
            return;
        line = d->editor->document()->blockCount(); // lines that are folded away count
    }
    d->editor->setCurrentLine(line - 1, CodeEditor::TopPlacement);
}

namespace
{
// The column of the message that a search comes to in a line; -1 for none. Forward it is the first
// that begins at or after `column`, backward the last that ends before it.
int messageColumn(const QTextBlock &block, int type, bool forward, int column)
{
    const CodeBlockData *record = CodeBlockData::testBlockData(block);
    int found = -1;
    if (!record)
        return found;
    for (const CodeBlockData::SyntaxMessage &message : record->syntaxMessages()) {
        if (message.type != type)
            continue;
        const bool fits = forward ? message.begin >= column : message.end < column;
        const bool nearer = found < 0 || (forward ? message.begin < found : message.begin > found);
        if (fits && nearer)
            found = message.begin;
    }
    return found;
}
} // namespace

void CodeWorkspace::goToMessage(int type, bool forward)
{
    if (!canEdit())
        return;
    QTextCursor cursor = d->editor->textCursor();
    QTextBlock block = cursor.block();
    int column = cursor.positionInBlock() + (forward ? 1 : 0);
    while (block.isValid()) {
        const int found = messageColumn(block, type, forward, column);
        if (found >= 0) {
            cursor.setPosition(block.position() + qMin(found, block.length() - 1));
            d->editor->setTextCursor(cursor);
            return;
        }
        block = forward ? block.next() : block.previous();
        column = forward ? 0 : std::numeric_limits<int>::max();
    }
}

void CodeWorkspace::nextError()
{
    goToMessage(CodeBlockData::SyntaxMessage::Error, true);
}

void CodeWorkspace::prevError()
{
    goToMessage(CodeBlockData::SyntaxMessage::Error, false);
}

void CodeWorkspace::nextDepr()
{
    goToMessage(CodeBlockData::SyntaxMessage::Deprecation, true);
}

void CodeWorkspace::prevDepr()
{
    goToMessage(CodeBlockData::SyntaxMessage::Deprecation, false);
}

void CodeWorkspace::comment()
{
    if (!canEdit())
        return;
    QChar mark = d->editor->codeDocument()->commentCharacter();
    const Engine *current = d->host->engine();
    if (mark.isNull() && current) // a file without a project
        mark = QLatin1Char(current->commentCharacter());
    if (mark.isNull())
        return;
    QTextCursor cursor = d->editor->textCursor();
    int end = cursor.selectionEnd();
    QTextBlock block = d->editor->document()->findBlock(cursor.selectionStart());
    const bool uncomment = block.text().startsWith(mark);
    cursor.beginEditBlock();
    do {
        cursor.setPosition(block.position());
        if (!uncomment) {
            cursor.insertText(mark);
            ++end;
        } else if (block.text().startsWith(mark)) {
            cursor.deleteChar();
            --end;
        }
        block = block.next();
    } while (block.isValid() && block.position() < end);
    cursor.endEditBlock();
}

void CodeWorkspace::foldAll()
{
    if (canEdit())
        d->editor->foldAll();
}

void CodeWorkspace::unfoldAll()
{
    if (canEdit())
        d->editor->unfoldAll();
}

void CodeWorkspace::snipInsert()
{
    if (!canEdit())
        return;
    const QPointer<QAbstractItemModel> alive = d->editor->codeDocument()->model();
    QString text =
        SnippetManager::instance()->snippet(d->host->mainWindow(), d->snippets->currentIndex());
    if (text.isEmpty() || !showsStill(alive))
        return;
    const QRegExp mark(QStringLiteral("CURSOR"));
    const int place = mark.indexIn(text);
    if (place >= 0)
        text.remove(place, mark.matchedLength());
    d->editor->insertPlainText(text);
    if (place >= 0) {
        QTextCursor cursor = d->editor->textCursor();
        cursor.setPosition(cursor.position() - (text.size() - place));
        d->editor->setTextCursor(cursor);
    }
    d->editor->setFocus();
}

// Saving lists the folder anew; the chosen snippet stays chosen.
void CodeWorkspace::editSnippet(const QString &file)
{
    const QString chosen = d->snippets->currentText();
    SnipDlg dialog(d->host->mainWindow(), file);
    dialog.exec();
    d->snippets->setCurrentText(chosen);
}

void CodeWorkspace::snipNew()
{
    if (canEdit())
        editSnippet(QString());
}

void CodeWorkspace::snipEdit()
{
    const QString file = d->snippets->currentText();
    if (file.isEmpty() || !canEdit())
        return;
    const Engine *engine = d->host->engine();
    const QString directory = d->host->userPath() + (engine ? engine->enginePath() : QString()) +
                              QStringLiteral("/snippets/");
    editSnippet(directory + file + QStringLiteral(".xml"));
}

} // namespace Kiln
