// The commands of the animation editor on animations, frames and contact boxes.

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>

#include <QtWidgets/QInputDialog>

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

/// The indexes of boxes, which hold until the first of them is taken out.
QVector<unsigned int> placesOf(const ContactBoxesCode *boxes, const QList<ContactBoxCode *> &chosen)
{
    QVector<unsigned int> places;
    for (unsigned int i = 0; boxes && i < boxes->count(); ++i) {
        if (chosen.contains(boxes->at(i)))
            places.append(i);
    }
    return places;
}

/// Takes boxes out, the last one first. Their rectangles, the first one first.
Boxes takeOut(ContactBoxesCode *boxes, const QVector<unsigned int> &places)
{
    Boxes taken;
    for (auto place = places.crbegin(); place != places.crend(); ++place) {
        taken.prepend(boxes->at(*place)->rect());
        boxes->remove(boxes->at(*place));
    }
    return taken;
}

void addAll(ContactBoxesCode *boxes, const Boxes &rects)
{
    for (const QRect &rect : rects)
        boxes->add(rect);
}

} // namespace

// --- Animations

void AnimationEditorPrivate::editCode(bool on)
{
    editor->setEditCodeMode(on, nullptr);
}

/// The text of the animation in a dialog. What another program or a tool has changed meanwhile is
/// not written over.
void AnimationEditorPrivate::editAnimCode()
{
    if (!animation())
        return;
    const Still still(this);
    const QString key = QStringLiteral("anim_editcode_geometry");
    codeDialog = new AnimCodeDlg(window(), animation()->code(), code->editor()->font());
    const QPointer<AnimCodeDlg> dialog = codeDialog;
    dialog->restoreGeometry(interface->option(key, QVariant()).toByteArray());
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    const bool isCurrent = dialog->isCurrent();
    const QString typed = dialog->code();
    interface->setOption(key, dialog->saveGeometry());
    delete dialog;
    if (!accepted || !still.isSo())
        return;
    if (!isCurrent) {
        showWarning(
            window(), KilnTranslator::instance()->text(51),
            AnimationEditor::tr("The animation has changed meanwhile. Nothing is written!"));
        return;
    }
    QString before = animation()->code();
    before.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    if (typed.trimmed() != before)
        write([this, &typed] { animation()->setCode(typed); });
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
    write([&] {
        // An animation that goes would take the others along.
        for (unsigned int i = 0; list && i < list->count(); ++i)
            lines += list->at(i)->optimize();
    });
    showInformation(
        window(), AnimationEditor::tr("Optimize done!"),
        AnimationEditor::tr("Code clean, and %1 line(s) were removed in the optimization!")
            .arg(lines));
}

// --- Frames

/// Frames of these sprites, which are otherwise as the one before them, in one step of undo.
void AnimationEditorPrivate::insertFrames(int at, const QStringList &sprites)
{
    write([this, at, &sprites] {
        int row = at;
        for (const QString &sprite : sprites)
            animation()->insertFrame(unsigned(row++), sprite);
    });
    select(lastRow, at, true);
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

/// Gives the frames behind the current one what that one has.
void AnimationEditorPrivate::toFollowing(
    const std::function<void(FrameCode *first, FrameCode *next)> &apply)
{
    if (!frame())
        return;
    write([&] {
        const AnimationCode *shown = animation();
        for (unsigned int i = unsigned(frameRow) + 1; i < shown->frameCount(); ++i)
            apply(frame(), shown->frameAt(i));
    });
}

void AnimationEditorPrivate::frameAllOffset()
{
    toFollowing([](FrameCode *first, FrameCode *next) { next->setOffset(first->offset()); });
}

void AnimationEditorPrivate::frameAllTime()
{
    toFollowing([](FrameCode *first, FrameCode *next) { next->setDelay(first->delay()); });
}

void AnimationEditorPrivate::frameAllFlip()
{
    toFollowing([](FrameCode *first, FrameCode *next) { next->setFlip(first->flip()); });
}

void AnimationEditorPrivate::frameAllScale()
{
    toFollowing([](FrameCode *first, FrameCode *next) { next->setScale(first->scale()); });
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
    write([&] {
        const bool everywhere = range == AnimAlign::AllAnimations;
        const bool fromStart = everywhere || range == AnimAlign::WholeAnimation;
        for (int at = everywhere ? 0 : row.row();
             at < (everywhere ? int(list->count()) : row.row() + 1); ++at) {
            const AnimationCode *each = list->at(unsigned(at));
            const unsigned int end =
                range == AnimAlign::ThisFrame ? unsigned(frameRow) + 1 : each->frameCount();
            for (unsigned int i = fromStart ? 0 : unsigned(frameRow); i < end; ++i)
                align(each->frameAt(i));
        }
    });
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
    if (row.isValid() && row.row() > 0)
        select(row.row() - 1, 0, true);
}

void AnimationEditorPrivate::nextAnim()
{
    if (row.isValid() && row.row() + 1 < int(list->count()))
        select(row.row() + 1, 0, true);
}

void AnimationEditorPrivate::prevFrame()
{
    if (frame() && frameRow > 0)
        select(row.row(), frameRow - 1, true);
}

void AnimationEditorPrivate::nextFrame()
{
    if (frame() && frameRow + 1 < int(animation()->frameCount()))
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
    if (!frame())
        return;
    write([this] {
        const AnimationCode *shown = animation();
        for (unsigned int i = 0; i < shown->frameCount(); ++i)
            setBoxes(shown->frameAt(i), {}, {});
    });
}

void AnimationEditorPrivate::boxSwType()
{
    const QList<ContactBoxCode *> chosen = renderer->selectedContactBoxes();
    if (!frame() || isPlaying() || chosen.isEmpty())
        return;
    write([this, &chosen] {
        const FrameCode *shown = frame();
        const QVector<unsigned int> attack = placesOf(shown->attackBoxes(), chosen);
        const QVector<unsigned int> collision = placesOf(shown->collisionBoxes(), chosen);
        const Boxes toBody = takeOut(shown->attackBoxes(), attack);
        const Boxes toStrike = takeOut(shown->collisionBoxes(), collision);
        addAll(shown->attackBoxes(), toStrike);
        addAll(shown->collisionBoxes(), toBody);
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
        !still.isSo() || !frame())
        return;
    write([this] {
        const QString sprite = frame()->identifier();
        const Boxes attack = rectsOf(frame()->attackBoxes());
        const Boxes collision = rectsOf(frame()->collisionBoxes());
        for (unsigned int at = 0; at < list->count(); ++at) {
            const AnimationCode *each = list->at(at);
            for (unsigned int i = 0; i < each->frameCount(); ++i) {
                if (each->frameAt(i)->identifier() == sprite)
                    setBoxes(each->frameAt(i), attack, collision);
            }
        }
    });
}

} // namespace Kiln
