#include <kilnx/code/valuecode.h>

#include <kilnx/code/groupcode.h>

#include <QtCore/QDate>
#include <QtCore/QStringList>

namespace Kiln
{
namespace
{
bool isList(const QVariant &value)
{
    return value.type() == QVariant::List;
}

/// Whether a value of `type` is a single one.
bool isSingle(ValueCode::Type type)
{
    return (type >= ValueCode::Text && type <= ValueCode::Real) || type == ValueCode::Int;
}

QVariant listOf(const QVariant &value, const QVariant &single)
{
    return isList(value) ? value : QVariant(QVariantList{single});
}

QVariant pointOf(const QVariant &value)
{
    if (value.type() == QVariant::Point || !isList(value))
        return value.toPoint();
    const QVariantList items = value.toList();
    return QPoint(items.value(0).toInt(), items.value(1).toInt());
}

QVariant pointFOf(const QVariant &value)
{
    if (value.type() == QVariant::PointF || !isList(value))
        return value.toPointF();
    const QVariantList items = value.toList();
    return QPointF(items.value(0).toReal(), items.value(1).toReal());
}

/// A date where the value can be read as one; what cannot keeps its text.
QVariant dateOf(const QVariant &value)
{
    const QDate date = value.toDate();
    return date.isValid() ? QVariant(date) : value;
}

QString joined(const QVariant &value, const QString &separator)
{
    QStringList texts;
    for (const QVariant &item : value.toList())
        texts.append(item.toString());
    return texts.join(separator);
}
} // namespace

ValueCode::ValueCode(CodeNode *previous, Type valueType, const QVariant &value)
    : CodeNode(CodeNode::Value, previous)
    , m_valueType(valueType)
    , m_value(value)
{
    CodeNode *owner = section();
    if (!owner || owner->type() != Group)
        return;
    // The place in the group is the number of values between, which the nearest one that the group
    // holds already knows.
    auto *group = static_cast<GroupCode *>(owner);
    unsigned int row = 0;
    for (CodeNode *node = this->previous(); node != group; node = node->previous()) {
        if (node->parent() == group) {
            row += unsigned(group->childIndex(node)) + 1;
            break;
        }
        row += node->type() == CodeNode::Value ? 1 : 0;
    }
    group->insertChild(this, row);
}

QVariant ValueCode::value() const
{
    return m_valueType == Enum ? QVariant(enumText(m_value.toUInt())) : m_value;
}

void ValueCode::setValue(const QVariant &value)
{
    m_value = convertFrom(m_valueType, value);
}

void ValueCode::valueChanged(const QVariant &value)
{
    m_value = convertFrom(m_valueType, value);
}

int ValueCode::asInt() const
{
    return m_value.toInt();
}

qreal ValueCode::asReal() const
{
    return m_value.toReal();
}

QVector<int> ValueCode::asIntVector() const
{
    if (isSingle(m_valueType))
        return {asInt()};
    QVector<int> items;
    for (const QVariant &item : m_value.toList())
        items.append(item.toInt());
    return items;
}

QVector<qreal> ValueCode::asRealVector() const
{
    if (isSingle(m_valueType))
        return {asReal()};
    QVector<qreal> items;
    for (const QVariant &item : m_value.toList())
        items.append(item.toReal());
    return items;
}

QVector<QVariant> ValueCode::asVector() const
{
    if (isSingle(m_valueType))
        return {m_value};
    return m_value.toList().toVector();
}

QPoint ValueCode::asPoint() const
{
    if (m_value.type() == QVariant::Point || m_valueType == Point)
        return m_value.toPoint();
    if (isSingle(m_valueType))
        return QPoint(asInt(), 0);
    const QVariantList items = m_value.toList();
    return QPoint(items.value(0).toInt(), items.value(1).toInt());
}

QPointF ValueCode::asPointF() const
{
    if (m_value.type() == QVariant::PointF || m_valueType == PointF)
        return m_value.toPointF();
    if (isSingle(m_valueType))
        return QPointF(asReal(), 0);
    const QVariantList items = m_value.toList();
    return QPointF(items.value(0).toReal(), items.value(1).toReal());
}

QSize ValueCode::asSize() const
{
    const QPoint point = asPoint();
    return QSize(point.x(), point.y());
}

QVariant ValueCode::convertFrom(Type type, const QVariant &value) const
{
    switch (type) {
    case Text:
    case TextAlt:
        return value.toString();
    case Date:
        return dateOf(value);
    case Enum:
        return value.toUInt();
    case EnumList:
        return listOf(value, value.toUInt());
    case Real:
        return value.toReal();
    case PointF:
        return pointFOf(value);
    case RealVector:
    case RealVector1:
    case RealVector2:
        return listOf(value, value.toReal());
    case Int:
        return value.toInt();
    case Point:
        return pointOf(value);
    case IntVector:
    case IntVector1:
    case IntVector2:
        return listOf(value, value.toInt());
    default:
        return value;
    }
}

QString ValueCode::asString(Type type, const QVariant &value, const QChar &separator) const
{
    if (m_value.type() == QVariant::String)
        return m_value.toString();
    const QString between = separator.isNull() ? QStringLiteral(" ") : separator + QLatin1Char(' ');
    switch (type) {
    case Date:
        return value.toDate().toString(Qt::ISODate);
    case Enum:
        return enumText(value.toUInt());
    case PointF: {
        const QPointF point = pointFOf(value).toPointF();
        return QString::number(point.x()) + between + QString::number(point.y());
    }
    case Point: {
        const QPoint point = pointOf(value).toPoint();
        return QString::number(point.x()) + between + QString::number(point.y());
    }
    case RealVector:
    case RealVector1:
    case RealVector2:
    case IntVector:
    case IntVector1:
    case IntVector2:
        return joined(value, between);
    default:
        return value.toString();
    }
}
} // namespace Kiln
