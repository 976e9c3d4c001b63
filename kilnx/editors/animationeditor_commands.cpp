// The commands of the animation editor on animations, frames and contact boxes.

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QtWidgets/QInputDialog>

#include <algorithm>
#include <climits>

namespace Kiln
{

namespace
{

using Boxes = QVector<QRect>;

Boxes rectsOf(const ContactBoxesCode *boxes)
{
    return boxes ? boxes->rects() : Boxes();
}

void setRects(ContactBoxesCode *boxes, const Boxes &rects)
{
    if (boxes && boxes->rects() != rects)
        boxes->setRects(rects);
}

void setBoxes(const FrameCode *frame, const Boxes &attack, const Boxes &collision)
{
    setRects(frame->attackBoxes(), attack);
    setRects(frame->collisionBoxes(), collision);
}

} // namespace

// --- Animations

void AnimationEditorPrivate::editCode(bool on)
{
    editor->setEditCodeMode(on, nullptr);
}

/// The text of the animation in a dialog. Where another program or a tool has changed it meanwhile,
/// the user is asked, and what is typed stays until it is written or given up.
void AnimationEditorPrivate::editAnimCode()
{
    if (!animation())
        return;
    const Still still(this);
    const QString key = QStringLiteral("anim_editcode_geometry");
    codeDialog = new AnimCodeDlg(window(), animation()->code(), code->editor()->font());
    const QPointer<AnimCodeDlg> dialog = codeDialog;
    dialog->restoreGeometry(interface->option(key, QVariant()).toByteArray());
    bool isAgreed = false;
    while (!isAgreed && dialog && dialog->exec() == QDialog::Accepted)
        isAgreed = !dialog || dialog->isCurrent() || !still.isSameFile() || mayReplaceCode();
    if (!dialog)
        return;
    const QString typed = dialog->code();
    interface->setOption(key, dialog->saveGeometry());
    delete dialog;
    if (!isAgreed || !still.isSameFile() || !animation())
        return;
    QString before = animation()->code();
    before.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    if (typed.trimmed() != before)
        write([this, &typed] { animation()->setCode(typed); });
}

bool AnimationEditorPrivate::mayReplaceCode() const
{
    return !animation() ||
           askQuestion(window(), text(51),
                       AnimationEditor::tr("The animation '%1' has changed meanwhile. Do you want "
                                           "to write what you have typed over it?")
                           .arg(animation()->name()));
}

void AnimationEditorPrivate::add()
{
    if (!list)
        return;
    const int at = row.isValid() ? row.row() + 1 : 0;
    write([this, at] { list->insert(unsigned(at), list->freeIdentifier()); });
    select(at, 0, true);
}

bool AnimationEditorPrivate::confirmed(const QString &title, const QString &question) const
{
    return !interface->option(QStringLiteral("confirm_delete"), true).toBool() ||
           askQuestion(window(), title, question);
}

void AnimationEditorPrivate::del()
{
    const Still still(this);
    if (animation() &&
        confirmed(AnimationEditor::tr("Delete animation"),
                  AnimationEditor::tr("Do you really want to delete the animation?")) &&
        still.isSo())
        write([this] { list->remove(unsigned(row.row())); });
}

void AnimationEditorPrivate::duplicate()
{
    if (!animation())
        return;
    const Still still(this);
    const QString title = AnimationEditor::tr("Duplicate animation");
    QString identifierOfCopy;
    if (askQuestion(window(), title,
                    AnimationEditor::tr("Do you want to define a new identifier?"))) {
        if (!still.isSo())
            return;
        bool accepted = false;
        identifierOfCopy =
            QInputDialog::getText(window(), title, AnimationEditor::tr("Identifier:"),
                                  QLineEdit::Normal, list->freeIdentifier(), &accepted)
                .trimmed();
        if (!accepted)
            return;
    }
    if (!still.isSo())
        return;
    const int at = row.row();
    write([&] { list->duplicate(unsigned(at), identifierOfCopy); });
    select(at + 1, 0, true);
}

/// Counts the lines of all animations that said nothing.
void AnimationEditorPrivate::optimize()
{
    if (!list)
        return;
    int lines = 0;
    const bool isDone = writeEach(int(list->count()), text(69), [&](int i) {
        // An animation that goes would take the others along.
        if (AnimationCode *each = list->at(unsigned(i)))
            lines += each->optimize();
    });
    if (isDone)
        showInformation(
            window(), AnimationEditor::tr("Optimize done!"),
            AnimationEditor::tr("Code clean, and %1 line(s) were removed in the optimization!")
                .arg(lines));
}

// --- Frames

/// Frames of these sprites, which are otherwise as the one before them, in one step of undo.
void AnimationEditorPrivate::insertFrames(int at, const QStringList &sprites)
{
    const int of = row.row();
    const bool isDone = writeEach(sprites.size(), text(59), [&](int i) {
        if (AnimationCode *shown = list->at(unsigned(of)))
            shown->insertFrame(unsigned(at + i), sprites[i]);
    });
    if (isDone)
        select(of, at, true);
}

/// Behind the current frame, with its sprite; the first shows the file's current sprite.
void AnimationEditorPrivate::frameAdd()
{
    if (!animation())
        return;
    const FrameCode *now = frame();
    const Sprites *sprites = spriteFiles().value(0);
    Sprite *first = sprites && sprites->itemCount() > 0
                        ? sprites->at(qMin(sprites->current(), sprites->itemCount() - 1))
                        : nullptr;
    const QString sprite = now     ? now->identifier()
                           : first ? first->property(QStringLiteral("Identifier")).toString()
                                   : QString();
    insertFrames(now ? frameRow + 1 : 0, {sprite});
}

void AnimationEditorPrivate::frameDel()
{
    const Still still(this);
    if (!frame() || !confirmed(AnimationEditor::tr("Delete frame"),
                               AnimationEditor::tr("Do you really want to delete the frame?")))
        return;
    if (still.isSo())
        write([this] { animation()->removeFrame(unsigned(frameRow)); });
}

AnimationEditorPrivate::Frames AnimationEditorPrivate::framesOf(int of, int first) const
{
    Frames found;
    const AnimationCode *animation = list->at(unsigned(of));
    for (int i = first; i < int(animation->frameCount()); ++i)
        found.append({of, i});
    return found;
}

AnimationEditorPrivate::Frames AnimationEditorPrivate::allFrames() const
{
    Frames found;
    for (int of = 0; of < int(list->count()); ++of)
        found += framesOf(of, 0);
    return found;
}

FrameCode *AnimationEditorPrivate::frameIn(const QPair<int, int> &place) const
{
    const AnimationCode *of = list->at(unsigned(place.first));
    return of ? of->frameAt(unsigned(place.second)) : nullptr;
}

void AnimationEditorPrivate::writeFrames(const Frames &frames,
                                         const QString &told,
                                         const std::function<void(FrameCode *)> &edit)
{
    writeEach(frames.size(), told, [&](int i) {
        if (FrameCode *each = frameIn(frames[i]))
            edit(each);
    });
}

/// Gives the frames behind the current one what that one has.
void AnimationEditorPrivate::toFollowing(
    int textId,
    const std::function<void(FrameCode *first, FrameCode *next)> &apply)
{
    if (!frame())
        return;
    const QPair<int, int> first(row.row(), frameRow);
    writeFrames(framesOf(first.first, first.second + 1), text(textId),
                [&](FrameCode *next) { apply(frameIn(first), next); });
}

void AnimationEditorPrivate::frameAllOffset()
{
    toFollowing(75, [](FrameCode *first, FrameCode *next) { next->setOffset(first->offset()); });
}

void AnimationEditorPrivate::frameAllTime()
{
    toFollowing(73, [](FrameCode *first, FrameCode *next) { next->setDelay(first->delay()); });
}

void AnimationEditorPrivate::frameAllFlip()
{
    toFollowing(74, [](FrameCode *first, FrameCode *next) { next->setFlip(first->flip()); });
}

void AnimationEditorPrivate::frameAllScale()
{
    toFollowing(76, [](FrameCode *first, FrameCode *next) { next->setScale(first->scale()); });
}

void AnimationEditorPrivate::frameAlign()
{
    if (!frame())
        return;
    const Still still(this);
    AnimAlign dialog(window());
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const AnimAlign::Operation operation = dialog.operation();
    const QPointF amount = dialog.amount();
    const auto align = [operation, amount](FrameCode *aligned) {
        aligned->setOffset(AnimAlign::aligned(aligned->offset(), operation, amount));
        for (ContactBoxesCode *boxes : {aligned->attackBoxes(), aligned->collisionBoxes()}) {
            Boxes rects = rectsOf(boxes);
            for (QRect &rect : rects)
                rect = AnimAlign::aligned(rect, operation, amount);
            setRects(boxes, rects);
        }
    };
    const AnimAlign::Range range = dialog.range();
    Frames frames;
    if (range == AnimAlign::ThisFrame)
        frames = {{row.row(), frameRow}};
    else if (range == AnimAlign::AllAnimations)
        frames = allFrames();
    else
        frames = framesOf(row.row(), range == AnimAlign::FromHere ? frameRow : 0);
    writeFrames(frames, text(77), align);
}

void AnimationEditorPrivate::moveAxis(QPoint step)
{
    if (!frame())
        return;
    const auto moved = [](int from, int by) {
        return int(qBound<qint64>(INT_MIN, qint64(from) + by, INT_MAX));
    };
    write([this, step, moved] {
        const QPoint from = frame()->offset();
        frame()->setOffset({moved(from.x(), step.x()), moved(from.y(), step.y())});
    });
}

void AnimationEditorPrivate::axisLeft()
{
    moveAxis({-1, 0});
}

void AnimationEditorPrivate::axisUp()
{
    moveAxis({0, -1});
}

void AnimationEditorPrivate::axisRight()
{
    moveAxis({1, 0});
}

void AnimationEditorPrivate::axisDown()
{
    moveAxis({0, 1});
}

void AnimationEditorPrivate::prevAnim()
{
    if (row.row() > 0)
        select(row.row() - 1, 0, true);
}

void AnimationEditorPrivate::nextAnim()
{
    if (row.isValid() && row.row() + 1 < int(list->count()))
        select(row.row() + 1, 0, true);
}

void AnimationEditorPrivate::prevFrame()
{
    if (frame())
        select(row.row(), frameRow - 1, true);
}

void AnimationEditorPrivate::nextFrame()
{
    if (frame())
        select(row.row(), frameRow + 1, true);
}

// --- Contact boxes

void AnimationEditorPrivate::boxDelAll()
{
    if (frame())
        write([this] { setBoxes(frame(), {}, {}); });
}

void AnimationEditorPrivate::boxDelAllAnim()
{
    if (frame())
        writeFrames(framesOf(row.row(), 0), text(65),
                    [](FrameCode *each) { setBoxes(each, {}, {}); });
}

void AnimationEditorPrivate::boxSwType()
{
    if (!frame())
        return;
    const QList<ContactBoxCode *> chosen = renderer->selectedContactBoxes();
    write([this, &chosen] {
        QVector<ContactBoxCode *> ofFrame;
        for (const ContactBoxesCode *boxes : {frame()->attackBoxes(), frame()->collisionBoxes()}) {
            for (ContactBoxCode *box : boxes->all()) {
                if (chosen.contains(box))
                    ofFrame.append(box);
            }
        }
        for (ContactBoxCode *box : qAsConst(ofFrame))
            box->setBoxType(box->boxType() & ContactBoxCode::Attack ? ContactBoxCode::Collision
                                                                    : ContactBoxCode::Attack);
    });
}

void AnimationEditorPrivate::boxPrev()
{
    if (!frame() || frameRow == 0)
        return;
    write([this] {
        const FrameCode *before = animation()->frameAt(unsigned(frameRow) - 1);
        setBoxes(frame(), rectsOf(before->attackBoxes()), rectsOf(before->collisionBoxes()));
    });
}

/// The frames of all animations that show the same sprite.
void AnimationEditorPrivate::boxAllInst()
{
    const Still still(this);
    if (!frame() ||
        !askQuestion(window(), AnimationEditor::tr("Confirmation"),
                     AnimationEditor::tr(
                         "Do you really want to replicate Contact boxes of current frame in all "
                         "its instances?\nAll existing Contact boxes in these frames will be "
                         "replaced.")) ||
        !still.isSo())
        return;
    const QString sprite = frame()->identifier();
    const Boxes attack = rectsOf(frame()->attackBoxes());
    const Boxes collision = rectsOf(frame()->collisionBoxes());
    Frames same = allFrames();
    const auto isOther = [&](const QPair<int, int> &place) {
        return frameIn(place)->identifier() != sprite;
    };
    same.erase(std::remove_if(same.begin(), same.end(), isOther), same.end());
    writeFrames(same, text(68), [&](FrameCode *each) { setBoxes(each, attack, collision); });
}

} // namespace Kiln
