#include "animationparser.h"

#include "animationnodes.h"
#include "emberpaint.h"

#include <QCoreApplication>

using namespace EmberAnimationText;
using Kiln::CodeNode;
using Kiln::CodeParserSyntax;

namespace
{

QString translated(const char *text)
{
    return QCoreApplication::translate("EmberAnimationParser", text);
}

/// The animation that a line below `previous` is in, null if it is in none. A file may have any
/// number of lines above its first header, so none of them looks for one through all the others.
CodeNode *animationAt(CodeNode *previous)
{
    switch (previous->type()) {
    case CodeNode::Animation:
        return previous;
    case CodeNode::Frame:
        return previous->parent();
    case CodeNode::Value:
        return static_cast<EmberBox *>(previous)->animation();
    default:
        return nullptr;
    }
}

void paintClauses(EmberPaint &paint, const Line &line)
{
    for (const Clause &clause : line.clauses) {
        const int behind = clause.range.begin + clause.word.size();
        paint.token(CodeParserSyntax::Keyword, {clause.range.begin, behind});
        const bool isTitle = clause.word == QLatin1String("title");
        paint.token(isTitle ? CodeParserSyntax::String : CodeParserSyntax::Number,
                    {behind, clause.range.end});
    }
}

void report(EmberPaint &paint, const QVector<Fault> &faults)
{
    for (const Fault &fault : faults)
        paint.error(CodeParserSyntax::Invalid, fault.text, fault.range);
}

CodeNode *parseAnimation(const Line &line, CodeNode *old, CodeNode *previous, EmberPaint &paint)
{
    QVector<Fault> faults;
    const AnimationValues values = readAnimation(line, &faults);
    paint.token(CodeParserSyntax::Section, {line.parts.code.begin, line.subjectRange.begin});
    paint.token(CodeParserSyntax::Name, line.subjectRange);
    paintClauses(paint, line);
    report(paint, faults);
    if (line.parts.level != 1)
        paint.warning(CodeParserSyntax::Section, translated("This is written '@animation'"),
                      line.parts.code);
    if (!old || old->type() != CodeNode::Animation)
        return new EmberAnimation(previous, values);
    static_cast<EmberAnimation *>(old)->update(values);
    return old;
}

CodeNode *parseFrame(const Line &line, CodeNode *old, CodeNode *previous, EmberPaint &paint)
{
    QVector<Fault> faults;
    const FrameValues values = readFrame(line, &faults);
    CodeNode *animation = animationAt(previous);
    paint.token(CodeParserSyntax::Keyword, line.parts.keyRanges.first());
    paint.token(CodeParserSyntax::Name, line.subjectRange);
    paintClauses(paint, line);
    report(paint, faults);
    if (!animation)
        paint.error(CodeParserSyntax::Default, translated("A frame needs an animation above it"),
                    line.parts.code);
    if (!old || old->type() != CodeNode::Frame || old->parent() != animation)
        return new EmberFrame(previous, values);
    static_cast<EmberFrame *>(old)->update(values);
    return old;
}

CodeNode *parseBox(const Line &line, CodeNode *old, CodeNode *previous, EmberPaint &paint)
{
    QVector<Fault> faults;
    const QRect rect = readBox(line, &faults);
    paint.token(CodeParserSyntax::Keyword, line.parts.keyRanges.first());
    paint.token(CodeParserSyntax::Number, line.subjectRange);
    report(paint, faults);
    if (!animationAt(previous))
        paint.error(CodeParserSyntax::Default, translated("A box needs an animation above it"),
                    line.parts.code);
    const auto type = line.kind == Strike ? EmberBox::Attack : EmberBox::Collision;
    if (!old || old->type() != CodeNode::Value || static_cast<EmberBox *>(old)->boxType() != type)
        return new EmberBox(previous, type, rect);
    static_cast<EmberBox *>(old)->update(rect);
    return old;
}

} // namespace

EmberAnimationParser &EmberAnimationParser::instance()
{
    static EmberAnimationParser parser;
    return parser;
}

CodeNode *EmberAnimationParser::parse(const QString &text,
                                      CodeNode *old,
                                      CodeNode *previous,
                                      Kiln::RootCode *,
                                      CodeParserSyntax *syntax)
{
    const Line line = Line::read(text);
    EmberPaint paint(syntax, text);
    paint.comment(line.parts);
    switch (line.kind) {
    case Blank:
        break;
    case Header:
        return parseAnimation(line, old, previous, paint);
    case Frame:
        return parseFrame(line, old, previous, paint);
    case Strike:
    case Body:
        return parseBox(line, old, previous, paint);
    case Unknown:
    case Broken:
        paint.error(CodeParserSyntax::Invalid,
                    translated("'@animation', 'frame:', 'strike:' or 'body:' expected"),
                    line.parts.code);
        break;
    }
    return nullptr;
}
