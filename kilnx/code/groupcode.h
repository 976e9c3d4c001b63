#pragma once

#include <kilnx/code/codenode.h>
#include <kilnx/code/namedcode.h>
#include <kilnx/export.h>

#include <QtCore/QList>

namespace Kiln
{
class ValueCode;

/// A section: a header line and the values below it, down to the next group or animation.
///
/// When a group is constructed it takes over the values below it; when it is destroyed it hands
/// them on to the group above, and frames below it to the animation above. It does not place
/// itself: the subclass calls insertRootChild(), or another container's insertChild(), at the end
/// of its own constructor.
class KILNX_EXPORT GroupCode : public ParentCode, public NamedCode
{
public:
    /// The last line before the next group of the same or an outer level, or before the next
    /// animation. With neither below, the document's line count.
    int lastLine() const override;

    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int row) const override;
    /// `child` must be a ValueCode.
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;

    /// The section's header as the engine's language writes it. The library never calls it.
    virtual QString headerText() const = 0;
    /// Adds a value at the end of the section by adding its line to the text. Whether it succeeded.
    /// The library never calls it.
    virtual bool addValue(const QString &name, const QVariant &value) = 0;

    const QList<ValueCode *> &values() const { return m_values; }
    unsigned int valueCount() const { return unsigned(m_values.size()); }
    /// Null if `index` is out of range.
    ValueCode *valueAt(unsigned int index) const;
    /// The first value of exactly that name, null if there is none.
    ValueCode *valueByName(const QString &name) const;
    /// The value() of that node, an invalid variant if there is none.
    QVariant value(const QString &name) const;
    /// Removes the value's lines from the text; nothing if `index` is out of range.
    void removeValue(unsigned int index);
    /// The engine's number for this kind of section, 0 to 65535.
    unsigned int subType() const { return m_subType; }

protected:
    GroupCode(CodeNode *previous, unsigned int subType);
    ~GroupCode() override;

    QList<ValueCode *> m_values;
    unsigned int m_subType;

private:
    void takeValuesBelow();
    void handFramesBack();
    void handValuesOn();

    mutable int m_lastRow = 0;
};
} // namespace Kiln
