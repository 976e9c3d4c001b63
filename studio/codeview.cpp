#include "codeview.h"

#include "codesurface.h"
#include "controlpanels.h"
#include "findbar.h"

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/project/interface.h>

#include <QAction>
#include <QRegularExpression>

namespace Studio
{

namespace
{

QRegularExpression expressionFor(const QString &text, unsigned int flags)
{
    const QString pattern =
        flags & FindBar::RegularExpression ? text : QRegularExpression::escape(text);
    QRegularExpression::PatternOptions options = QRegularExpression::MultilineOption;
    if (!(flags & FindBar::CaseSensitive))
        options |= QRegularExpression::CaseInsensitiveOption;
    return QRegularExpression(pattern, options);
}

// Only an expression has captures that the replacement may name.
QString replaced(QString where, const QString &text, const QString &by, unsigned int flags)
{
    if (flags & FindBar::RegularExpression)
        return where.replace(expressionFor(text, flags), by);
    const bool byCase = flags & FindBar::CaseSensitive;
    return where.replace(text, by, byCase ? Qt::CaseSensitive : Qt::CaseInsensitive);
}

} // namespace

CodeView::CodeView(CodeSurface *surface,
                   Kiln::Project::FileID::Type type,
                   const char *name,
                   int textId)
    : m_surface(surface)
    , m_type(type)
    , m_name(name)
    , m_textId(textId)
    , m_action(interface->editorAction(QLatin1String("editor_") + QLatin1String(name),
                                       interface,
                                       textId))
{
}

CodeView::~CodeView() = default;

unsigned int CodeView::areas() const
{
    const unsigned int areas = ControlPanels::ControlArea | ControlPanels::ListArea;
    return m_type == Kiln::Project::FileID::Animations ? areas | ControlPanels::SideArea : areas;
}

void CodeView::activate()
{
    Kiln::FileEditor::activate();
    m_surface->setDocument(m_document);
    interface->setEditorWidget(m_surface->widget());
    showAnimations();
    m_surface->text()->setFocus(Qt::OtherFocusReason);
}

void CodeView::deactivate()
{
    Kiln::FileEditor::deactivate();
    showAnimations();
    m_surface->setDocument(nullptr);
}

Kiln::OrganizerEditor *CodeView::organizer() const
{
    if (m_type != Kiln::Project::FileID::Animations)
        return nullptr;
    return qobject_cast<Kiln::OrganizerEditor *>(interface->extraEditor(0));
}

/// The organizer has the animations of the shown file, and lets go of them before they end.
void CodeView::showAnimations()
{
    Kiln::OrganizerEditor *panel = organizer();
    if (!panel)
        return;
    Kiln::CodeDocumentEditor *list = isActive() && m_document
                                         ? m_document->documentEditor(Kiln::CodeNode::Animation, 0)
                                         : nullptr;
    panel->setObject(dynamic_cast<Kiln::Animations *>(list));
    connect(panel, &Kiln::OrganizerEditor::itemClicked, this, &CodeView::goToAnimation,
            Qt::UniqueConnection);
}

void CodeView::goToAnimation(int row)
{
    const auto *list = dynamic_cast<Kiln::Animations *>(
        isActive() && m_document ? m_document->documentEditor(Kiln::CodeNode::Animation, 0)
                                 : nullptr);
    if (const Kiln::AnimationCode *animation = list ? list->at(unsigned(row)) : nullptr)
        navigateTo(unsigned(animation->lineNo()), 0);
}

void CodeView::retranslate()
{
    m_action->setText(interface->text(m_textId));
}

void CodeView::navigateTo(unsigned int line, unsigned int column)
{
    m_surface->showPlace(int(line), int(column));
}

bool CodeView::find(const Kiln::ProjectFile *file, const QString &text, unsigned int flags)
{
    if (text.isEmpty() || !m_document || file != currentFile())
        return false;
    QTextCursor found = findFrom(m_surface->text()->textCursor(), text, flags);
    if (found.isNull() && (flags & FindBar::Wrap)) {
        QTextCursor edge(m_document);
        edge.movePosition(flags & FindBar::Backward ? QTextCursor::End : QTextCursor::Start);
        found = findFrom(edge, text, flags);
    }
    if (found.isNull())
        return false;
    m_surface->text()->setTextCursor(found);
    return true;
}

void CodeView::replace(const QString &text,
                       const QString &replacement,
                       unsigned int flags,
                       bool all)
{
    const QRegularExpression expression = expressionFor(text, flags);
    if (text.isEmpty() || !m_document || !expression.isValid())
        return;
    if (all) {
        const QString before = m_document->toString();
        const QString after = replaced(before, text, replacement, flags);
        if (after == before)
            return;
        QTextCursor everything(m_document);
        everything.select(QTextCursor::Document);
        everything.insertText(after);
        return;
    }
    QTextCursor cursor = m_surface->text()->textCursor();
    const QString selected = cursor.selectedText();
    const QRegularExpressionMatch match = expression.match(selected);
    if (match.hasMatch() && match.capturedLength() == selected.size() && !selected.isEmpty())
        cursor.insertText(replaced(selected, text, replacement, flags));
    find(text, flags);
}

void CodeView::cut()
{
    m_surface->text()->cut();
}

void CodeView::copy()
{
    m_surface->text()->copy();
}

void CodeView::paste()
{
    m_surface->text()->paste();
}

void CodeView::setCurrentFile(Kiln::ProjectFile *file)
{
    if (m_document)
        static_cast<QTextDocument *>(m_document)->disconnect(this);
    Kiln::FileEditor::setCurrentFile(file);
    m_document = dynamic_cast<Kiln::CodeDocument *>(file);
    if (m_document) {
        connect(static_cast<QTextDocument *>(m_document), &QTextDocument::modificationChanged, this,
                &CodeView::modified);
    }
    // The project's selected file is the one that contentsChanged() comes back to.
    if (Kiln::Project *project = file ? file->project() : nullptr) {
        const int index = project->filesByType(m_type).indexOf(file);
        if (index >= 0)
            project->setSelectedFile(m_type, unsigned(index));
    }
    if (isActive()) {
        m_surface->setDocument(m_document);
        showAnimations();
    }
}

// A file was made or loaded, and then it is the project's selected one, or the current was saved.
void CodeView::contentsChanged()
{
    if (Kiln::Project *project = interface->currentProject())
        setCurrentFile(project->file(m_type));
    emit modified();
}

QTextCursor
CodeView::findFrom(const QTextCursor &start, const QString &text, unsigned int flags) const
{
    const QRegularExpression expression = expressionFor(text, flags);
    if (!expression.isValid())
        return {};
    QTextDocument::FindFlags options;
    options.setFlag(QTextDocument::FindBackward, flags & FindBar::Backward);
    options.setFlag(QTextDocument::FindCaseSensitively, flags & FindBar::CaseSensitive);
    return m_document->find(expression, start, options);
}

} // namespace Studio
