#pragma once

#include "emberline.h"

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QString>
#include <QVector>

/// The text of Ember's animation files. Nothing here knows a document or a node.
///
///     @animation walk, title Walking, layer 2     ; the header: an identifier and options
///         body: -14, -70, 14, 0                   ; boxes stand above the frame that they are of
///         frame: wren_walk_1, at 2 0, for 6       ; a sprite, and what differs from the plain
///
/// A line is a subject and clauses, separated by commas; a clause is a word and its arguments,
/// separated by blanks. Boxes are "strike", which hits, and "body", which can be hit: left, top,
/// right and bottom edge.
namespace EmberAnimationText
{

enum Kind { Blank, Header, Frame, Strike, Body, Unknown, Broken };

using Range = EmberLine::Range;

struct Clause {
    QString word;      ///< such as "at"; empty for a clause without a letter
    QString arguments; ///< the rest, blanks reduced to one
    Range range;       ///< without the commas and the blanks around it
};

/// A complaint about a range of the line.
struct Fault {
    QString text;
    Range range;
};

/// One line taken apart. Any text is fine.
struct EMBER_EXPORT Line {
    static Line read(const QString &text);

    Kind kind = Blank;
    EmberLine parts;
    QString text;    ///< all of it
    QString subject; ///< identifier or sprite, blanks reduced to one; the numbers of a box
    Range subjectRange;
    QVector<Clause> clauses;

    /// The first clause with this word, null if there is none.
    const Clause *clause(const QString &word) const;
    /// The code of the line, without indent and comment, with another subject.
    QString withSubject(const QString &newSubject) const;
    /// The same with a clause set: in the place of the first of that word, else last. Null
    /// `arguments` take it out, empty ones make it a bare word. Further clauses of the word, which
    /// do not count, go: they would count once the first one is gone.
    QString withClause(const QString &word, const QString &arguments) const;

private:
    void readClauses(Range range);
    QString code() const;
};

/// What a header says.
struct AnimationValues {
    QString identifier;
    QString title;
    int layer = 0;     ///< 0 to 9
    bool once = false; ///< ends with its last frame instead of going on at its loop point

    bool operator==(const AnimationValues &other) const;
};

/// What a frame line says. See Kiln::FrameCode for the units.
struct FrameValues {
    QString identifier;
    QPoint offset;
    int delay = 1;
    QPointF scale{1, 1};
    qreal angle = 0;
    int flip = 0; ///< Kiln::FrameCode::Flip
    bool loopPoint = false;
    qreal opacity = 1; ///< 0 to 1

    bool operator==(const FrameValues &other) const;
};

/// These read what the line says. A clause that cannot be read leaves its value as it is by
/// default; the first clause of a word counts.
EMBER_EXPORT AnimationValues readAnimation(const Line &line, QVector<Fault> *faults = nullptr);
EMBER_EXPORT FrameValues readFrame(const Line &line, QVector<Fault> *faults = nullptr);
/// Normalized; an empty rectangle if the line is not four numbers.
EMBER_EXPORT QRect readBox(const Line &line, QVector<Fault> *faults = nullptr);

/// The arguments of the clauses that say these values; null for what is the case without a clause.
EMBER_EXPORT QString offsetText(const QPoint &offset);
EMBER_EXPORT QString delayText(int delay);
EMBER_EXPORT QString scaleText(const QPointF &scale);
EMBER_EXPORT QString angleText(qreal angle);
EMBER_EXPORT QString flipText(int flip);
EMBER_EXPORT QString opacityText(qreal opacity);
/// The edges of a box, as in "8, -58, 36, -44".
EMBER_EXPORT QString boxText(const QRect &rect);
/// What a line can hold of a name or title: no comma, comment or line end.
EMBER_EXPORT QString nameText(const QString &name);

} // namespace EmberAnimationText
