#pragma once

#include "animationtext.h"

#include <kilnx/code/animationcode.h>
#include <kilnx/code/framecode.h>
#include <kilnx/code/valuecode.h>

class EmberFrame;

/// The node of a box's line, which is the box. It belongs to the frame below it.
class EMBER_EXPORT EmberBox : public Kiln::ValueCode, public Kiln::ContactBoxCode
{
public:
    EmberBox(Kiln::CodeNode *previous, BoxType type, const QRect &rect);

    BoxType boxType() const override { return m_type; }
    QRect rect() const override { return m_rect; }
    void setRect(const QRect &rect) override;
    void setBoxType(BoxType type) override;

    /// "strike" or "body".
    QString name() const override;
    /// The other kind for the other word; nothing for any other name.
    void setName(const QString &name) override;
    /// setRect() with a QRect; nothing for any other value.
    void setValue(const QVariant &value) override;
    QString valueText() const override;
    QString enumText(unsigned int value) const override;
    /// Takes what the line says now. For the parser.
    void update(const QRect &rect);
    /// The animation whose lines it is among, null for one above all of them. It is remembered.
    Kiln::CodeNode *animation() const { return section(); }

private:
    BoxType m_type;
    QRect m_rect;
};

/// The boxes of one kind of a frame: those on the lines between the frame before and the frame.
class EMBER_EXPORT EmberBoxes : public Kiln::ContactBoxesCode
{
public:
    EmberBoxes(EmberFrame *frame, Kiln::ContactBoxCode::BoxType type);

    unsigned int count() const override;
    Kiln::ContactBoxCode *at(unsigned int index) const override;
    QVector<Kiln::ContactBoxCode *> all() const override;
    Kiln::ContactBoxCode *add(const QRect &rect) override;
    void remove(Kiln::ContactBoxCode *box) override;
    /// Keeps the lines of the boxes that stay, with their comments.
    void setRects(const QVector<QRect> &rects) override;

private:
    int append(const QVector<QRect> &rects);
    QVector<EmberBox *> boxes() const;

    EmberFrame *m_frame;
    Kiln::ContactBoxCode::BoxType m_type;
};

/// The node of a frame's line. Its setters rewrite the one clause that they are about, and take it
/// out where the value is what holds without it.
class EMBER_EXPORT EmberFrame : public Kiln::FrameCode
{
public:
    EmberFrame(Kiln::CodeNode *previous, const EmberAnimationText::FrameValues &values);

    QString identifier() const override { return m_values.identifier; }
    void setIdentifier(const QString &identifier) override;
    QPoint offset() const override { return m_values.offset; }
    void setOffset(const QPoint &offset) override;
    int delay() const override { return m_values.delay; }
    void setDelay(int delay) override;
    QPointF scale() const override { return m_values.scale; }
    void setScale(const QPointF &scale) override;
    qreal angle() const override { return m_values.angle; }
    void setAngle(qreal angle) override;
    Flip flip() const override { return static_cast<Flip>(m_values.flip); }
    void setFlip(Flip flip) override;
    bool isLoopPoint() const override { return m_values.loopPoint; }
    void setLoopPoint(bool loopPoint) override;
    bool canTransform() const override { return true; }
    qreal opacity() const { return m_values.opacity; }
    /// Brought to 0 to 1.
    void setOpacity(qreal opacity);
    /// Those of the base, and "Opacity".
    QStringList propertyNames() override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;

    /// Takes what the line says now. For the parser.
    void update(const EmberAnimationText::FrameValues &values);
    /// Takes out clauses that say what holds without them, and those that do not count.
    void optimize();

private:
    void setClause(const char *word, const QString &arguments);

    EmberAnimationText::FrameValues m_values;
    EmberBoxes m_strikes;
    EmberBoxes m_bodies;
};

/// The node of an animation's header. Comments directly above the header belong to it.
class EMBER_EXPORT EmberAnimation : public Kiln::AnimationCode
{
public:
    EmberAnimation(Kiln::CodeNode *previous, const EmberAnimationText::AnimationValues &values);

    /// The identifier.
    QString name() const override { return m_values.identifier; }
    /// The identifier, and the title if there is one.
    QString displayName() const override;
    /// Nothing for an empty name.
    void setName(const QString &name) override;
    int layer() const { return m_values.layer; }
    bool playsOnce() const { return m_values.once; }

    /// Those of the base, and "Title", "Layer" and "Once".
    QStringList propertyNames() override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;

    int firstLine() const override;
    Kiln::FrameCode *insertFrame(unsigned int index, const QString &identifier) override;
    /// Takes out clauses that say nothing or do not count, boxes below the last frame and doubled
    /// blank lines.
    int optimize() override;

    /// Takes what the line says now. For the parser.
    void update(const EmberAnimationText::AnimationValues &values);

private:
    void setClause(const char *word, const QString &arguments);

    EmberAnimationText::AnimationValues m_values;
};
