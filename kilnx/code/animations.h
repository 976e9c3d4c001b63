#pragma once

#include <kilnx/code/animationcode.h>
#include <kilnx/code/codeparser.h>
#include <kilnx/code/framecode.h>
#include <kilnx/export.h>
#include <kilnx/project/organizable.h>

#include <QtCore/QList>

#include <memory>

namespace Kiln
{
class CodeDocument;
struct AnimationsRecord;

/// The animations of a code document as a list: an item model, which the organizer reorders, and a
/// file of a project, which hands everything on to the document.
///
/// Every change that it offers is an edit of the text; the list follows as the document reports
/// nodes, and undo of the document takes it back. Rows are those that the last change left, within
/// a bracket of changes too. While one is open, data() answers nothing, because rows and texts may
/// be out of step in the middle of a change.
///
/// An engine derives from it, makes one for a document and registers it by
/// `document->registerDocumentEditor(animations, CodeNode::Animation, 0)`; from then on it belongs
/// to the document, which destroys it by release().
class KILNX_EXPORT Animations : public OrganizableObject, public CodeDocumentEditor
{
    Q_OBJECT

public:
    ~Animations() override;

    CodeDocument *document() const { return m_document; }
    /// The animations in text order.
    const QList<AnimationCode *> &animations() const;
    unsigned int count() const;
    /// Null if `index` is out of range.
    AnimationCode *at(unsigned int index) const;
    /// The row of `animation`, -1 if it is not in the list.
    int indexOf(const AnimationCode *animation) const;
    /// From row `from` on, the first animation whose "Identifier" is `value` as a string, exactly;
    /// -1 if there is none.
    int find(unsigned int from, const QVariant &value) const;
    /// The animation that editors show, 0 at first. The caller keeps it in range; after edits
    /// it may be past the end.
    unsigned int selected() const { return m_selected; }
    void setSelected(unsigned int index) { m_selected = index; }

    /// Appends an animation made from the template, with `name` as its identifier, at the end of
    /// the text. Returns the last animation of the list: the new one if the template makes one.
    /// Null for a list that stays empty.
    AnimationCode *add(const QString &name);
    /// The same before the animation at `index`, and before the comments that belong to it. Returns
    /// the animation at `index` then. At or past the end it is add().
    AnimationCode *insert(unsigned int index, const QString &name);
    /// Inserts a copy of the animation at `index` behind it, before the next animation. If
    /// `identifier` is not empty, the copy gets it: each place that reads as the header of the
    /// template with the old identifier, in capitals or not, gets the new one.
    void duplicate(unsigned int index, const QString &identifier);

    // OrganizableObject
    void move(unsigned int from, unsigned int to) override;
    void beginChange() override;
    void endChange() override;
    void remove(unsigned int index) override;
    /// Sorts the text by identifier, as one change. Identifiers that are whole numbers are brought
    /// into their order among themselves and names into theirs, capitals or not; the two are never
    /// compared with each other. Equal ones keep their order.
    void autoOrganize() override;

    // The list model
    int rowCount(const QModelIndex &parent = {}) const override;
    /// Qt::DisplayRole: the display name.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // ProjectFile: the document's
    Archive &archive() const override;
    Project *project() const override;
    /// The document's, and bit 0 if the document is its project's definition: the animations are
    /// then saved and discarded as part of that.
    unsigned int capabilities() const override;
    QAbstractItemModel *model() override;
    /// Whether the document can be saved and bit 0 of capabilities() is clear.
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    bool toFile(Archive &archive, const QString &name, bool asCopy) override;
    bool fromFile(Archive &archive, const QString &name, bool asCopy) override;
    QString fileName() override;
    void undo() override;
    void redo() override;
    QList<SearchResult> search(const QRegularExpression &expression) override;
    void replace(const QList<SearchResult> &results, const QString &text) override;
    QVariant option(const QString &key) override;
    void
    setOption(const QString &key, const QVariant &value, bool toProject, bool toSettings) override;

    // CodeDocumentEditor
    void insertChild(CodeNode *node, unsigned int index) override;
    void removeChild(CodeNode *node) override;
    void childChanged(CodeNode *node) override;

    /// An identifier that no animation of the list has, for a new one.
    virtual QString freeIdentifier() const = 0;
    /// The text of a new animation, with "%1" where its identifier goes. It starts with the header
    /// line and ends with a line end.
    virtual QString animationTemplate() const = 0;

protected:
    /// `document` must outlive the object, as it does once the object is registered there.
    explicit Animations(CodeDocument *document);

    Messages *fileMessages() const override;

private:
    QString newText(const QString &identifier) const;

    CodeDocument *m_document;
    std::unique_ptr<AnimationsRecord> m_record;
    unsigned int m_selected = 0;
};
} // namespace Kiln
