#include "animationnodes.h"

#include <kilnx/code/codedocument.h>

#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace EmberAnimationText;
using Kiln::CodeNode;
using Kiln::ContactBoxCode;

namespace
{

Line lineOf(const CodeNode *node)
{
    return Line::read(node->block().text());
}

/// Whether `node` is still the node of its line when what a bracket has edited so far is parsed. If
/// not, it is gone. From then on, only the caller's own edits are left to parse.
bool staysWhenCaughtUp(CodeNode *node)
{
    Kiln::CodeDocument *document = node->document();
    if (!document)
        return false;
    const QTextBlock line = node->block();
    document->catchUp();
    return document->nodeInBlock(line) == node;
}

/// Rewrites the code of a node's line; indent and comment stay.
void rewrite(const CodeNode *node, const QString &code)
{
    const QTextBlock block = node->block();
    const Range range = EmberLine::read(block.text()).code;
    Kiln::CodeDocument *document = node->document();
    if (!document || block.text().mid(range.begin, range.end - range.begin) == code)
        return;
    QTextCursor cursor = document->cursor();
    cursor.setPosition(block.position() + range.begin);
    cursor.setPosition(block.position() + range.end, QTextCursor::KeepAnchor);
    document->insertOnCursor(code, cursor);
    document->catchUp();
}

/// Takes a clause out if it says what holds without it, and those that repeat it in any case.
void tidyClause(const CodeNode *node, const char *word, bool isPlain)
{
    const Line line = lineOf(node);
    const Clause *clause = line.clause(QLatin1String(word));
    if (!clause)
        return;
    const QString arguments = QLatin1String("") + clause->arguments;
    rewrite(node, line.withClause(QLatin1String(word), isPlain ? QString() : arguments));
}

QString indentOf(const CodeNode *node)
{
    const QString text = node->block().text();
    return text.left(EmberLine::read(text).code.begin);
}

QString boxWord(ContactBoxCode::BoxType type)
{
    return type & 1 ? QStringLiteral("strike") : QStringLiteral("body");
}

/// A rectangle whose edges a line of text can say.
QRect sayable(const QRect &rect)
{
    const QRect normal = rect.normalized();
    const qint64 most = std::numeric_limits<int>::max();
    return QRect(normal.left(), normal.top(),
                 int(std::min<qint64>(normal.width(), most - std::max(normal.left(), 0))),
                 int(std::min<qint64>(normal.height(), most - std::max(normal.top(), 0))));
}

/// Whether a value is a text, or a whole number, which is an identifier as well.
bool isName(const QVariant &value)
{
    const int type = value.userType();
    return type == QMetaType::QString || type == QMetaType::Int || type == QMetaType::UInt;
}

bool isFlag(const QVariant &value)
{
    return value.userType() == QMetaType::Bool;
}

/// Also a text that reads as a number.
bool isReal(const QVariant &value)
{
    bool isNumber = false;
    value.toReal(&isNumber);
    return isNumber && !isFlag(value);
}

bool isWhole(const QVariant &value)
{
    const qreal number = value.toReal();
    if (!isReal(value) || !(std::abs(number) <= std::numeric_limits<int>::max()))
        return false;
    bool isWhole = false;
    return value.toInt(&isWhole) == number && isWhole;
}

/// Whether a value is two numbers that are whole numbers when rounded.
bool isWholePoint(const QVariant &value)
{
    constexpr qreal most = 1e9;
    const QPointF point = value.toPointF();
    return value.canConvert<QPoint>() && std::abs(point.x()) < most && std::abs(point.y()) < most;
}

/// The real that reads back from the text of `number`.
qreal rounded(qreal number)
{
    return QString::number(number, 'g', 10).toDouble();
}

} // namespace

EmberBox::EmberBox(CodeNode *previous, BoxType type, const QRect &rect)
    : ValueCode(previous, Plain, rect)
    , m_type(type)
    , m_rect(rect)
{
}

void EmberBox::setRect(const QRect &rect)
{
    const QRect wanted = sayable(rect);
    if (wanted != m_rect)
        rewrite(this, lineOf(this).withSubject(boxText(wanted)));
}

void EmberBox::setBoxType(BoxType type)
{
    setName(boxWord(type));
}

QString EmberBox::name() const
{
    return boxWord(m_type);
}

void EmberBox::setName(const QString &name)
{
    const BoxType other = m_type & 1 ? Collision : Attack;
    if (name != boxWord(other))
        return;
    const EmberLine parts = lineOf(this).parts;
    const EmberLine::Range word = parts.keyRanges.first();
    const QString behind = block().text().mid(word.end, parts.code.end - word.end);
    rewrite(this, name + behind);
}

void EmberBox::setValue(const QVariant &value)
{
    if (value.type() == QVariant::Rect)
        setRect(value.toRect());
}

QString EmberBox::valueText() const
{
    return boxText(m_rect);
}

QString EmberBox::enumText(unsigned int) const
{
    return QString();
}

void EmberBox::update(const QRect &rect)
{
    m_rect = rect;
    valueChanged(rect);
}

EmberBoxes::EmberBoxes(EmberFrame *frame, ContactBoxCode::BoxType type)
    : m_frame(frame)
    , m_type(type)
{
}

QVector<EmberBox *> EmberBoxes::boxes() const
{
    QVector<EmberBox *> found;
    for (CodeNode *node = m_frame->previous(); node && node->type() == CodeNode::Value;
         node = node->previous()) {
        auto *box = static_cast<EmberBox *>(node);
        if (box->boxType() == m_type)
            found.append(box);
    }
    std::reverse(found.begin(), found.end());
    return found;
}

unsigned int EmberBoxes::count() const
{
    return static_cast<unsigned int>(boxes().size());
}

ContactBoxCode *EmberBoxes::at(unsigned int index) const
{
    return boxes().value(static_cast<int>(index));
}

QVector<ContactBoxCode *> EmberBoxes::all() const
{
    const QVector<EmberBox *> found = boxes();
    return QVector<ContactBoxCode *>(found.begin(), found.end());
}

ContactBoxCode *EmberBoxes::add(const QRect &rect)
{
    Kiln::CodeDocument *document = m_frame->document();
    const ContactBoxCode::BoxType type = m_type;
    const int line = staysWhenCaughtUp(m_frame) ? append({rect}) : -1;
    CodeNode *node = line < 0 ? nullptr : document->nodeInBlock(document->findBlockByNumber(line));
    auto *box = dynamic_cast<EmberBox *>(node);
    return box && box->boxType() == type ? box : nullptr;
}

/// In one edit: below the last box of the kind, or directly above the frame. Returns the first new
/// line, -1 if there is none.
int EmberBoxes::append(const QVector<QRect> &rects)
{
    Kiln::CodeDocument *document = m_frame->document();
    if (!document || rects.isEmpty())
        return -1;
    const QString start = indentOf(m_frame) + boxWord(m_type) + QLatin1String(": ");
    QStringList lines;
    for (const QRect &rect : rects)
        lines.append(start + boxText(sayable(rect)));
    const QString text = lines.join(QLatin1Char('\n'));
    const QVector<EmberBox *> before = boxes();
    const int line = before.isEmpty() ? m_frame->lineNo() : before.last()->lineNo() + 1;
    if (before.isEmpty())
        document->insertBefore(m_frame, text, true);
    else
        document->insertAfter(before.last(), text, true);
    document->catchUp();
    return line;
}

void EmberBoxes::remove(ContactBoxCode *box)
{
    Kiln::CodeDocument *document = m_frame->document();
    const int index = staysWhenCaughtUp(m_frame) ? indexOf(box) : -1;
    if (index < 0)
        return;
    boxes().at(index)->remove(false);
    document->catchUp();
}

void EmberBoxes::setRects(const QVector<QRect> &rects)
{
    Kiln::CodeDocument *document = m_frame->document();
    if (!staysWhenCaughtUp(m_frame))
        return;
    document->beginChange();
    const QVector<EmberBox *> old = boxes();
    for (int i = old.size() - 1; i >= rects.size(); --i)
        old.at(i)->remove(false);
    for (int i = std::min(old.size(), rects.size()) - 1; i >= 0; --i)
        old.at(i)->setRect(rects.at(i));
    append(rects.mid(old.size()));
    document->endChange();
}

EmberFrame::EmberFrame(CodeNode *previous, const FrameValues &values)
    : FrameCode(previous, &m_strikes, &m_bodies)
    , m_values(values)
    , m_strikes(this, ContactBoxCode::Attack)
    , m_bodies(this, ContactBoxCode::Collision)
{
}

void EmberFrame::setClause(const char *word, const QString &arguments)
{
    rewrite(this, lineOf(this).withClause(QLatin1String(word), arguments));
}

void EmberFrame::setIdentifier(const QString &identifier)
{
    const QString text = nameText(identifier);
    if (text != m_values.identifier)
        rewrite(this, lineOf(this).withSubject(text));
}

void EmberFrame::setOffset(const QPoint &offset)
{
    if (offset != m_values.offset)
        setClause("at", offsetText(offset));
}

void EmberFrame::setDelay(int delay)
{
    if (std::max(delay, -1) != m_values.delay)
        setClause("for", delayText(delay));
}

void EmberFrame::setScale(const QPointF &scale)
{
    const bool isFinite = std::isfinite(scale.x()) && std::isfinite(scale.y());
    if (isFinite && QPointF(rounded(scale.x()), rounded(scale.y())) != m_values.scale)
        setClause("scale", scaleText(scale));
}

void EmberFrame::setAngle(qreal angle)
{
    if (std::isfinite(angle) && rounded(angle) != m_values.angle)
        setClause("angle", angleText(angle));
}

void EmberFrame::setFlip(Flip flip)
{
    if ((flip & FlipBoth) != m_values.flip)
        setClause("flip", flipText(flip & FlipBoth));
}

void EmberFrame::setOpacity(qreal opacity)
{
    const qreal wanted = qBound(0.0, opacity, 1.0);
    if (std::isfinite(opacity) && rounded(wanted) != m_values.opacity)
        setClause("opacity", opacityText(wanted));
}

void EmberFrame::setLoopPoint(bool loopPoint)
{
    Kiln::CodeDocument *text = document();
    if (!staysWhenCaughtUp(this))
        return;
    text->beginChange();
    if (loopPoint && parent()) {
        const auto frames = static_cast<EmberAnimation *>(parent())->frames();
        for (Kiln::FrameCode *frame : frames) {
            if (frame != this)
                frame->setLoopPoint(false);
        }
    }
    if (loopPoint != m_values.loopPoint)
        setClause("loop", loopPoint ? QLatin1String("") : QString());
    text->endChange();
}

QStringList EmberFrame::propertyNames()
{
    return FrameCode::propertyNames() << QStringLiteral("Opacity");
}

QVariant EmberFrame::property(const QString &name)
{
    switch (propertyNames().indexOf(name)) {
    case 0:
        return identifier();
    case 1:
        return offset();
    case 2:
        return delay();
    case 3:
        return scale();
    case 4:
        return angle();
    case 5:
        return static_cast<int>(flip());
    case 6:
        return isLoopPoint();
    case 7:
        return opacity();
    default:
        return QVariant();
    }
}

void EmberFrame::setProperty(const QString &name, const QVariant &value)
{
    switch (propertyNames().indexOf(name)) {
    case 0:
        if (isName(value))
            setIdentifier(value.toString());
        break;
    case 1:
        if (isWholePoint(value))
            setOffset(value.toPoint());
        break;
    case 2:
        if (isWhole(value))
            setDelay(value.toInt());
        break;
    case 3:
        if (value.canConvert<QPointF>())
            setScale(value.toPointF());
        break;
    case 4:
        if (isReal(value))
            setAngle(value.toReal());
        break;
    case 5:
        if (isWhole(value))
            setFlip(static_cast<Flip>(value.toInt() & FlipBoth));
        break;
    case 6:
        if (isFlag(value))
            setLoopPoint(value.toBool());
        break;
    case 7:
        if (isReal(value))
            setOpacity(value.toReal());
        break;
    default:
        break;
    }
}

void EmberFrame::update(const FrameValues &values)
{
    if (m_values == values)
        return;
    m_values = values;
    valueChanged(values.identifier);
}

void EmberFrame::optimize()
{
    const FrameValues plain;
    tidyClause(this, "at", m_values.offset == plain.offset);
    tidyClause(this, "for", m_values.delay == plain.delay);
    tidyClause(this, "scale", m_values.scale == plain.scale);
    tidyClause(this, "angle", m_values.angle == plain.angle);
    tidyClause(this, "flip", m_values.flip == plain.flip);
    tidyClause(this, "loop", m_values.loopPoint == plain.loopPoint);
    tidyClause(this, "opacity", m_values.opacity == plain.opacity);
}

EmberAnimation::EmberAnimation(CodeNode *previous, const AnimationValues &values)
    : AnimationCode(previous)
    , m_values(values)
{
}

QString EmberAnimation::displayName() const
{
    if (m_values.title.isEmpty())
        return m_values.identifier;
    return m_values.identifier + QLatin1String(" - ") + m_values.title;
}

void EmberAnimation::setName(const QString &name)
{
    const QString text = nameText(name);
    if (!text.isEmpty() && text != m_values.identifier)
        rewrite(this, lineOf(this).withSubject(text));
}

void EmberAnimation::setClause(const char *word, const QString &arguments)
{
    rewrite(this, lineOf(this).withClause(QLatin1String(word), arguments));
}

QStringList EmberAnimation::propertyNames()
{
    return AnimationCode::propertyNames()
           << QStringLiteral("Title") << QStringLiteral("Layer") << QStringLiteral("Once");
}

QVariant EmberAnimation::property(const QString &name)
{
    if (name == QLatin1String("Identifier"))
        return m_values.identifier;
    if (name == QLatin1String("Title"))
        return m_values.title;
    if (name == QLatin1String("Layer"))
        return m_values.layer;
    if (name == QLatin1String("Once"))
        return m_values.once;
    return AnimationCode::property(name);
}

void EmberAnimation::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier") || name == QLatin1String("Name")) {
        if (isName(value))
            setName(value.toString());
    } else if (name == QLatin1String("Title")) {
        const QString text = nameText(value.toString());
        if (isName(value))
            setClause("title", text.isEmpty() ? QString() : text);
    } else if (name == QLatin1String("Layer")) {
        const int layer = qBound(0, value.toInt(), 9);
        if (isWhole(value))
            setClause("layer", layer == 0 ? QString() : QString::number(layer));
    } else if (name == QLatin1String("Once")) {
        if (isFlag(value))
            setClause("once", value.toBool() ? QLatin1String("") : QString());
    } else {
        AnimationCode::setProperty(name, value);
    }
}

int EmberAnimation::firstLine() const
{
    const auto isComment = [](const QTextBlock &line) {
        return line.isValid() && line.text().trimmed().startsWith(QLatin1Char(';'));
    };
    QTextBlock first = block();
    while (isComment(first.previous()))
        first = first.previous();
    return first.blockNumber();
}

/// The line of the frame before is taken over, without its mark as the loop point.
Kiln::FrameCode *EmberAnimation::insertFrame(unsigned int index, const QString &identifier)
{
    Kiln::CodeDocument *text = document();
    if (!staysWhenCaughtUp(this))
        return nullptr;
    const unsigned int count = frameCount();
    const unsigned int row = std::min(index, count);
    const Kiln::FrameCode *above = frameAt(row > 0 ? row - 1 : 0);
    Line code = above ? lineOf(above) : Line::read(QStringLiteral("frame:"));
    code = Line::read(code.withSubject(nameText(identifier)));
    const QString indent = above ? indentOf(above) : QStringLiteral("    ");
    const QString frame = indent + code.withClause(QStringLiteral("loop"), QString());
    const CodeNode *place = above ? static_cast<const CodeNode *>(above) : this;
    const int line = row < count ? frameAt(row)->firstLine() : place->lineNo() + 1;
    if (row < count)
        text->insertBefore(frameAt(row), frame, false);
    else
        text->insertAfter(place, frame, true);
    text->catchUp();
    return dynamic_cast<EmberFrame *>(text->nodeInBlock(text->findBlockByNumber(line)));
}

int EmberAnimation::optimize()
{
    Kiln::CodeDocument *text = document();
    if (!staysWhenCaughtUp(this))
        return 0;
    const int countBefore = text->blockCount();
    text->beginChange();
    tidyClause(this, "title", m_values.title.isEmpty());
    tidyClause(this, "layer", m_values.layer == 0);
    tidyClause(this, "once", !m_values.once);
    const auto frames = this->frames();
    for (Kiln::FrameCode *frame : frames)
        static_cast<EmberFrame *>(frame)->optimize();
    const int last = std::min(lastLine(), text->blockCount() - 1);
    for (int number = last; number > lineNo(); --number) {
        const QTextBlock line = text->findBlockByNumber(number);
        const bool isDoubled = line.text().trimmed().isEmpty() &&
                               line.previous().text().trimmed().isEmpty() && line.next().isValid();
        const CodeNode *node = text->nodeInBlock(line);
        const bool isStray = node && node->type() == CodeNode::Value &&
                             (frames.isEmpty() || number > frames.last()->lineNo());
        if (!isDoubled && !isStray)
            continue;
        QTextCursor cursor = text->cursor();
        cursor.setPosition(line.previous().position() + line.previous().length() - 1);
        cursor.setPosition(line.position() + line.length() - 1, QTextCursor::KeepAnchor);
        text->insertOnCursor(QString(), cursor);
    }
    text->endChange();
    return countBefore - text->blockCount();
}

void EmberAnimation::update(const AnimationValues &values)
{
    if (m_values == values)
        return;
    m_values = values;
    valueChanged(values.identifier);
}
