#include <enginetest/freshdocument.h>

#include <enginetest/treedump.h>

#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/code/codeblockdata.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/contactboxes.h>
#include <kilnx/code/framecode.h>

#include <QDebug>
#include <QTextBlock>
#include <QTextLayout>

using namespace Kiln;

namespace EngineTest
{
namespace
{

/// What is painted where in a line.
QString colours(const QTextBlock &line)
{
    QString text;
    for (const QTextLayout::FormatRange &range : line.layout()->formats()) {
        text += QStringLiteral(", %1+%2 %3 %4")
                    .arg(QString::number(range.start), QString::number(range.length),
                         range.format.foreground().color().name(),
                         range.format.underlineColor().name());
    }
    return text;
}

/// The brackets, the row, the depth and the colours of each line.
QString lines(CodeDocument &document)
{
    QString text;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const int line = block.blockNumber();
        text += QString::number(line) + QLatin1Char(' ');
        text += document.indexInLine(line).data().toString();
        const CodeBlockData *data = CodeBlockData::testBlockData(block);
        text += QStringLiteral(" indent %1").arg(data->foldingIndent());
        for (const auto &bracket : data->parenthesis()) {
            text += QStringLiteral(" %1%2/%3")
                        .arg(bracket.character)
                        .arg(bracket.position)
                        .arg(bracket.type);
        }
        text += colours(block);
        text += QLatin1Char('\n');
    }
    return text;
}

/// Everything that a file of animations says, read through the contract of the library.
QString contents(const Animations &list)
{
    QString text = TreeDump::rows(list);
    QDebug stream(&text);
    stream.nospace();
    for (AnimationCode *animation : list.animations()) {
        stream << animation->displayName() << animation->firstLine() << '-' << animation->lastLine()
               << '\n';
        for (FrameCode *frame : animation->frames()) {
            stream << "  " << frame->index() << " line " << frame->firstLine() << '-'
                   << frame->lastLine() << " of " << animation->name();
            for (const QString &name : frame->propertyNames())
                stream << ' ' << frame->property(name);
            for (const auto type : {ContactBoxCode::Attack, ContactBoxCode::Collision})
                stream << ' ' << frame->contactBoxes(type)->rects();
            stream << '\n';
        }
    }
    return text;
}

QString state(CodeDocument &document)
{
    const auto *list =
        dynamic_cast<const Animations *>(document.documentEditor(CodeNode::Animation, 0));
    return TreeDump::all(document) + lines(document) + (list ? contents(*list) : QString());
}

/// The first line in which the two differ, of each of them.
QString firstDifference(const QString &found, const QString &expected)
{
    const QStringList ours = found.split(QLatin1Char('\n'));
    const QStringList theirs = expected.split(QLatin1Char('\n'));
    int line = 0;
    while (ours.value(line) == theirs.value(line))
        ++line;
    return QStringLiteral("found    %1\nexpected %2").arg(ours.value(line), theirs.value(line));
}

} // namespace

QString difference(CodeDocument &document, const DocumentMaker &makeFresh)
{
    CodeDocument *fresh = makeFresh();
    fresh->fromString(document.toPlainText());
    const QString found = state(document);
    const QString expected = state(*fresh);
    fresh->release();
    if (found == expected)
        return QString();
    return QStringLiteral("\n%1\nfound:\n%2\nexpected:\n%3\nwhere they part:\n%4")
        .arg(document.toPlainText(), found, expected, firstDifference(found, expected));
}
} // namespace EngineTest
