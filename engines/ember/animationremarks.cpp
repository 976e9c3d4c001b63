#include "animationremarks.h"

#include "animationnodes.h"
#include "emberanimations.h"
#include "emberdocument.h"

#include <QCoreApplication>
#include <QMap>
#include <QPair>
#include <QTextBlock>

#include <algorithm>

using Kiln::AnimationCode;
using Kiln::CodeNode;

namespace
{

QString translated(const char *text)
{
    return QCoreApplication::translate("AnimationRemarks", text);
}

bool startsBelow(int line, const CodeNode *node)
{
    return line < node->lineNo();
}

} // namespace

AnimationRemarks::AnimationRemarks(EmberDocument *document, const EmberAnimations *list)
    : m_document(document)
    , m_list(list)
{
}

void AnimationRemarks::changed(CodeNode *animation)
{
    m_changed.insert(animation);
}

void AnimationRemarks::gone(CodeNode *animation)
{
    m_changed.remove(animation);
    forget(animation);
}

void AnimationRemarks::check(const QTextBlock &first, const QTextBlock &last)
{
    // Without a sink the parser tells nothing either.
    if (!m_document->hasSyntaxHighlight())
        return;
    readIdentifiers();
    const int firstLine = first.blockNumber();
    const int lastLine = last.blockNumber();
    const QList<AnimationCode *> &list = m_list->animations();
    // The lines above the edit may have been the end of an animation that is longer now.
    auto begin = std::upper_bound(list.begin(), list.end(), firstLine - 1, startsBelow);
    if (begin != list.begin())
        --begin;
    const auto end = std::upper_bound(begin, list.end(), lastLine, startsBelow);
    if (begin != end)
        checkBoxes(*begin, firstLine, lastLine);
    for (auto animation = begin; animation != end; ++animation) {
        checkLoopMarks(*animation);
        m_unsettled.insert((*animation)->name());
    }
    checkIdentifiers();
}

void AnimationRemarks::readIdentifiers()
{
    for (CodeNode *node : qAsConst(m_changed)) {
        forget(node);
        const QString identifier = static_cast<EmberAnimation *>(node)->name();
        m_identifiers.insert(node, identifier);
        m_bearers[identifier].insert(node);
        m_unsettled.insert(identifier);
    }
    m_changed.clear();
}

void AnimationRemarks::forget(CodeNode *animation)
{
    const auto found = m_identifiers.find(animation);
    if (found == m_identifiers.end())
        return;
    const auto bearers = m_bearers.find(*found);
    bearers->remove(animation);
    if (bearers->isEmpty())
        m_bearers.erase(bearers);
    m_unsettled.insert(*found);
    m_identifiers.erase(found);
}

/// In text order, which is the order that the list of messages takes fastest.
void AnimationRemarks::checkIdentifiers()
{
    QMap<int, QPair<CodeNode *, QString>> remarks;
    for (const QString &identifier : qAsConst(m_unsettled)) {
        QMap<int, CodeNode *> bearers;
        for (CodeNode *bearer : m_bearers.value(identifier))
            bearers.insert(bearer->lineNo(), bearer);
        for (auto bearer = bearers.cbegin(); bearer != bearers.cend(); ++bearer) {
            const bool isTaken = bearer != bearers.cbegin() && !identifier.isEmpty();
            const QString text = translated("There is an animation '%1' above already");
            remarks.insert(bearer.key(), {*bearer, isTaken ? text.arg(identifier) : QString()});
        }
    }
    m_unsettled.clear();
    for (const auto &entry : qAsConst(remarks))
        remark(entry.first, entry.second);
}

/// From the last frame above the edit to the first one below it. `animation` is the one that the
/// edit starts in, or the first of the file.
void AnimationRemarks::checkBoxes(const AnimationCode *animation, int firstLine, int lastLine)
{
    const auto &frames = animation->frames();
    const auto below = std::upper_bound(frames.begin(), frames.end(), firstLine - 1, startsBelow);
    const CodeNode *node = animation;
    if (below != frames.begin())
        node = *(below - 1);
    QVector<const CodeNode *> boxes;
    do {
        node = node->next();
        if (node && node->type() == CodeNode::Value) {
            boxes.append(node);
            continue;
        }
        const bool isFrame = node && node->type() == CodeNode::Frame;
        for (const CodeNode *box : qAsConst(boxes))
            remark(box, isFrame ? QString() : translated("A box needs a frame below it"));
        boxes.clear();
    } while (node && (node->type() == CodeNode::Value || node->lineNo() <= lastLine));
}

void AnimationRemarks::checkLoopMarks(const AnimationCode *animation)
{
    bool isMarked = false;
    for (const Kiln::FrameCode *frame : animation->frames()) {
        if (!frame->isLoopPoint())
            continue;
        remark(frame,
               isMarked ? translated("The animation has a loop mark above already") : QString());
        isMarked = true;
    }
}

/// An empty text takes the remark away.
void AnimationRemarks::remark(const CodeNode *node, const QString &text)
{
    using Message = Kiln::CodeBlockData::SyntaxMessage;
    QVector<Message> remarks;
    if (!text.isEmpty()) {
        const EmberLine::Range code = EmberLine::read(node->block().text()).code;
        remarks.append({Message::Error, code.begin, code.end, text});
    }
    m_document->setRemarks(node->block(), remarks);
}
