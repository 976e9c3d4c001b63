#pragma once

#include <kilnx/code/codenode.h>
#include <kilnx/code/namedcode.h>
#include <kilnx/export.h>

#include <QtCore/QPointF>
#include <QtCore/QSize>
#include <QtCore/QVariant>
#include <QtCore/QVector>

namespace Kiln
{
/// A line that holds a named value, such as "speed = 1.5". It joins the nearest group above it;
/// below an animation, or with no group above, it stays without a container.
///
/// The value is kept as a QVariant whose form follows the type. A stored QString marks a value that
/// could not be read as its type, and is written back as it stands.
class KILNX_EXPORT ValueCode : public CodeNode, public NamedCode
{
public:
    /// The form of the stored value; the numbers are part of the contract with parsers. Those that
    /// stand side by side have one form, so that an engine may tell two uses of it apart. A number
    /// beyond these is as `Plain`. Which kind of line an entry is belongs into the engine's class.
    enum Type : int {
        Plain = 0, ///< any variant, unchanged; also 1 and 2
        Plain1 = 1,
        Plain2 = 2,
        Text = 3, ///< a string
        TextAlt = 4,
        Date = 5,        ///< a QDate, written in ISO form
        Enum = 6,        ///< an unsigned number, shown as enumText()
        EnumList = 7,    ///< a list of unsigned numbers
        Real = 8,        ///< a floating point number
        PointF = 9,      ///< a QPointF
        RealVector = 10, ///< a list of floating point numbers; also 11 and 12
        RealVector1 = 11,
        RealVector2 = 12,
        Int = 13,       ///< a number
        Point = 14,     ///< a QPoint
        IntVector = 15, ///< a list of numbers; also 16 and 17
        IntVector1 = 16,
        IntVector2 = 17
    };

    /// The value as it is shown: the stored one, but the text of an `Enum`.
    virtual QVariant value() const;
    /// Stores convertFrom() of the argument. It neither changes the text nor tells anyone; a
    /// subclass whose text is to follow overrides it and calls change().
    virtual void setValue(const QVariant &value);
    /// The value as the engine's language writes it. The library never calls it.
    virtual QString valueText() const = 0;

    virtual int asInt() const;
    virtual QVector<int> asIntVector() const;
    virtual qreal asReal() const;
    virtual QVector<qreal> asRealVector() const;
    /// A single value as one element, a list as its items.
    virtual QVector<QVariant> asVector() const;
    /// A single number n as (n, 0), a list as its first two items, 0 for a missing one.
    virtual QPoint asPoint() const;
    virtual QPointF asPointF() const;
    /// asPoint() as width and height.
    virtual QSize asSize() const;
    /// The word for number `value` of an enumeration.
    virtual QString enumText(unsigned int value) const = 0;
    /// `value` in the form that a node of `type` stores.
    virtual QVariant convertFrom(Type type, const QVariant &value) const;

    Type valueType() const { return m_valueType; }
    /// The stored value.
    const QVariant &rawValue() const { return m_value; }
    /// Stores `value`, exactly as setValue(). To tell the container and the model as well, a parser
    /// goes on with a call of CodeNode::valueChanged(), with that qualification.
    void valueChanged(const QVariant &value) override;

protected:
    /// Stores `value` as it stands and joins the nearest group above.
    ValueCode(CodeNode *previous, Type valueType, const QVariant &value);

    /// `value` written as a `type`; items of points and lists are joined by `separator`, if it is
    /// not null, and one blank. If the node itself stores a string, that string, whatever the
    /// arguments say.
    QString asString(Type type, const QVariant &value, const QChar &separator) const;

    Type m_valueType;
    QVariant m_value;
};
} // namespace Kiln
