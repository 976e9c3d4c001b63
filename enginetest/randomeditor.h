#pragma once

#include <enginetest/linemaker.h>

#include <QRandomGenerator>
#include <QStringList>
#include <QTextCursor>

namespace Kiln
{
class Animations;
class CodeDocument;
class CodeNode;
} // namespace Kiln

namespace EngineTest
{
/// Somebody who edits a document of code or animations without end and without sense: the same
/// things in the same order for the same lines and seed. The document must outlive it.
class RandomEditor
{
public:
    RandomEditor(Kiln::CodeDocument *document, const LineMaker &lines, quint32 seed);

    /// One edit. Returns what it did, for the report of a failure.
    QString step();
    /// What was wrong in the middle of a bracket so far, empty if nothing was.
    QString fault() const { return m_fault; }

private:
    using Action = void (RandomEditor::*)();
    struct Choice {
        const char *name;
        int weight;
        Action action;
    };

    // One step each, as a user of a view makes it.
    void typeCharacter();
    void typeLine();
    void deleteCharacters();
    void deleteLines();
    void joinLines();
    void pasteSection();
    void editHeader();
    void damageHeader();
    void moveLines();
    void undo();
    void redo();
    // One step each, as an editor with fields makes it.
    void bracket();
    void setValue();
    void setName();
    void addValue();
    void removeNode();
    void insertBesideNode();
    void replaceMatches();
    void parseAll();
    void editList();
    void editFrame();

    void checkInsideBracket();
    int below(int bound);
    QTextCursor cursorAt(int position);
    QTextCursor linesSelected(int first, int last);
    int randomLine();
    int randomHeader();
    Kiln::CodeNode *randomNode();
    QString randomText();
    QString identifier();
    QString anyOf(const QStringList &texts);
    QChar anyCharacter();

    Kiln::CodeDocument *m_document;
    Kiln::Animations *m_list; ///< null in a file without one
    LineMaker m_lines;
    QRandomGenerator m_random;
    QString m_fault;
};
} // namespace EngineTest
