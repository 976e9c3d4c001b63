#pragma once

#include <QtCore/QPoint>
#include <QtCore/QPointF>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// What the text of an animation file says, read line by line without the library.
namespace PlainAnimations
{

struct Frame {
    QString sprite;
    QPoint offset;
    int delay = 1;
    QPointF scale{1, 1};
    double angle = 0;
    int flip = 0;
    bool loop = false;
    QVector<QRect> boxes[2]; ///< that hit, and that can be hit
    int line = 0;
};

struct Animation {
    QString name;
    QVector<Frame> frames;
    int line = 0;
};

inline QString clause(const QString &code, const QString &word)
{
    const QStringList parts = code.split(',');
    for (const QString &part : parts.mid(1)) {
        const QString plain = part.simplified();
        if (plain.section(' ', 0, 0) == word)
            return plain.section(' ', 1) + ' ';
    }
    return {};
}

inline QRect box(const QString &edges)
{
    const QStringList four = edges.split(',');
    const QPoint corner(four[0].toInt(), four[1].toInt());
    return {corner, QSize(four[2].toInt() - corner.x(), four[3].toInt() - corner.y())};
}

inline Frame frame(const QString &code)
{
    Frame said;
    said.sprite = code.section(',', 0, 0).simplified();
    const QStringList at = clause(code, "at").split(' ');
    if (at.size() > 1)
        said.offset = {at[0].toInt(), at[1].toInt()};
    const QString time = clause(code, "for").trimmed();
    if (!time.isEmpty())
        said.delay = time == "ever" ? -1 : time.toInt();
    const QStringList scale = clause(code, "scale").split(' ', Qt::SkipEmptyParts);
    if (!scale.isEmpty())
        said.scale = {scale.first().toDouble(), scale.last().toDouble()};
    said.angle = clause(code, "angle").toDouble();
    const QString flip = clause(code, "flip").trimmed();
    said.flip = (flip.contains('v') ? 1 : 0) | (flip.contains('h') ? 2 : 0);
    said.loop = !clause(code, "loop").isNull();
    return said;
}

/// Boxes stand above the frame that they are of.
inline QVector<Animation> read(const QString &text)
{
    QVector<Animation> animations;
    QVector<QRect> boxes[2];
    const QStringList lines = text.split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        const QString code = lines[i].section(';', 0, 0).trimmed();
        const QString key = code.section(':', 0, 0).trimmed();
        const QString value = code.section(':', 1);
        if (code.startsWith("@animation")) {
            animations.append({code.mid(10).section(',', 0, 0).simplified(), {}, i});
            boxes[0].clear();
            boxes[1].clear();
        } else if (key == "strike" || key == "body") {
            boxes[key == "body"].append(box(value));
        } else if (key == "frame" && !animations.isEmpty()) {
            Frame said = frame(value);
            for (int kind = 0; kind < 2; ++kind)
                said.boxes[kind].swap(boxes[kind]);
            said.line = i;
            animations.last().frames.append(said);
        }
    }
    return animations;
}

/// The last frame that begins on or above a line, or whose boxes do.
inline Frame frameAt(const QString &text, int line)
{
    Frame found;
    const QVector<Animation> animations = read(text);
    for (const Animation &animation : animations) {
        for (const Frame &frame : animation.frames) {
            if (frame.line >= line)
                return frame;
            found = frame;
        }
    }
    return found;
}

} // namespace PlainAnimations
