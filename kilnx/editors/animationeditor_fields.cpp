// What the animation editor declares to its host: commands, fields, menus, and what the status bar
// tells.

#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtCore/QSysInfo>
#include <QtGui/QOpenGLContext>
#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QMenu>
#include <QtWidgets/QSplitter>

#include <cmath>

namespace Kiln
{

namespace
{

/// The menus that the commands stand in.
enum MenuPlace { AnimationMenu, FrameMenu, BoxMenu };

struct EditorAction {
    const char *key;
    int textId;
    MenuPlace place;
    bool isButton; ///< in the bar, too
    const char *slot;
    const char *enabler;
    const char *checker = nullptr; ///< a checkable action if there is one
};

const char thereIsAFile[] = "2noFile(bool)";
const char thereIsAnAnimation[] = "2enabled(bool)";
const char thereIsAFrame[] = "2frameEnabled(bool)";
const char viewCanEdit[] = "2frameEnabledNC(bool)";
const char thereIsMore[] = "2frameEnabledExtra(bool)";

const EditorAction actions[] = {
    {"anim_editcode", 47, AnimationMenu, true, "1editCode(bool)", thereIsAFile, ""},
    {"anim_code", 51, AnimationMenu, false, "1editAnimCode()", thereIsAnAnimation},
    {"anim_add", 48, AnimationMenu, true, "1add()", thereIsAFile},
    {"anim_delete", 49, AnimationMenu, true, "1del()", thereIsAnAnimation},
    {"anim_duplicate", 50, AnimationMenu, true, "1duplicate()", thereIsAnAnimation},
    {"anim_save_gif", 52, AnimationMenu, false, "1saveGIF()", thereIsAnAnimation},
    {"anim_play", 53, AnimationMenu, true, "1playChanged(bool)", thereIsAnAnimation,
     "2playing(bool)"},
    {"anim_stop", 54, AnimationMenu, true, "1stopChanged(bool)", thereIsAnAnimation,
     "2stopped(bool)"},
    {"anim_frame_add", 59, FrameMenu, true, "1frameAdd()", thereIsAnAnimation},
    {"anim_frame_delete", 60, FrameMenu, true, "1frameDel()", thereIsAFrame},
    {"anim_frameall_offset", 75, FrameMenu, false, "1frameAllOffset()", thereIsAFrame},
    {"anim_frameall_time", 73, FrameMenu, false, "1frameAllTime()", thereIsAFrame},
    {"anim_frameall_flip", 74, FrameMenu, false, "1frameAllFlip()", thereIsAFrame},
    {"anim_frameall_scale", 76, FrameMenu, false, "1frameAllScale()", thereIsAFrame},
    {"anim_frame_align", 77, FrameMenu, false, "1frameAlign()", thereIsAFrame},
    {"anim_box_add_attack", 61, BoxMenu, true, "1boxAddAChanged(bool)", viewCanEdit,
     "2attackBoxesDrawn(bool)"},
    {"anim_box_add_collision", 62, BoxMenu, true, "1boxAddCChanged(bool)", viewCanEdit,
     "2collisionBoxesDrawn(bool)"},
    {"anim_box_del", 63, BoxMenu, true, "1boxDel()", viewCanEdit},
    {"anim_box_delall", 64, BoxMenu, false, "1boxDelAll()", thereIsAFrame},
    {"anim_box_delall_anim", 65, BoxMenu, false, "1boxDelAllAnim()", thereIsAFrame},
    {"anim_box_type", 66, BoxMenu, true, "1boxSwType()", viewCanEdit},
    {"anim_box_prev", 67, BoxMenu, true, "1boxPrev()", thereIsAFrame},
    {"anim_box_allinst", 68, BoxMenu, false, "1boxAllInst()", thereIsAFrame},
    {"anim_optimize", 69, AnimationMenu, false, "1optimize()", thereIsAFile},
    {"anim_export", 70, AnimationMenu, false, "1exportTo()", thereIsAFile},
    {"anim_import", 71, AnimationMenu, false, "1importFrom()", thereIsAFile},
    {"anim_import_proj", 72, AnimationMenu, false, "1projImport()", thereIsAFile},
    {"anim_pos_left", 55, FrameMenu, false, "1axisLeft()", thereIsAFrame},
    {"anim_pos_up", 56, FrameMenu, false, "1axisUp()", thereIsAFrame},
    {"anim_pos_right", 57, FrameMenu, false, "1axisRight()", thereIsAFrame},
    {"anim_pos_down", 58, FrameMenu, false, "1axisDown()", thereIsAFrame},
    {"anim_prev_anim", 90, AnimationMenu, true, "1prevAnim()", thereIsAnAnimation},
    {"anim_next_anim", 91, AnimationMenu, true, "1nextAnim()", thereIsAnAnimation},
    {"anim_prev_frame", 92, FrameMenu, true, "1prevFrame()", thereIsAFrame},
    {"anim_next_frame", 93, FrameMenu, true, "1nextFrame()", thereIsAFrame},
};

enum FieldKind { Selector, Text, Fixed, Whole, Real, Choice, Check };

struct EditorField {
    const char *key;
    FieldKind kind;
    int textId; ///< of the label or, for a field, what it is called; 0 for none
    const char *slot;
    const char *setter;
    const char *enabler;
};

const EditorField editorFields[] = {
    {"anim_sel", Selector, 46, "1selPosChanged(int)", "2setSelPos(int)", thereIsAnAnimation},
    {"anim_sel_lb", Text, 0, nullptr, "2setPosText(QString)", nullptr},
    {"anim_frame_lb", Fixed, 78, nullptr, nullptr, nullptr},
    {"anim_frame_sel", Selector, 78, "1frameSelPosChanged(int)", "2setFrameSelPos(int)",
     thereIsAFrame},
    {"anim_frame_sel_lb", Text, 0, nullptr, "2setFramePosText(QString)", nullptr},
    {"anim_frame_xaxis_lb", Fixed, 79, nullptr, nullptr, thereIsAFrame},
    {"anim_frame_yaxis_lb", Fixed, 80, nullptr, nullptr, thereIsAFrame},
    {"anim_frame_flip_lb", Fixed, 81, nullptr, nullptr, thereIsAFrame},
    {"anim_frame_xscale_lb", Fixed, 86, nullptr, nullptr, thereIsMore},
    {"anim_frame_yscale_lb", Fixed, 87, nullptr, nullptr, thereIsMore},
    {"anim_frame_angle_lb", Fixed, 88, nullptr, nullptr, thereIsMore},
    {"anim_frame_time_lb", Fixed, 89, nullptr, nullptr, thereIsAFrame},
    {"anim_frame_xaxis", Whole, 79, "1frameXChanged(int)", "2setFrameX(int)", thereIsAFrame},
    {"anim_frame_yaxis", Whole, 80, "1frameYChanged(int)", "2setFrameY(int)", thereIsAFrame},
    {"anim_frame_flip", Choice, 81, "1frameFlipChanged(int)", "2setFrameFlip(int)", thereIsAFrame},
    {"anim_frame_xscale", Real, 86, "1frameScaleXChanged(double)", "2setFrameScaleX(double)",
     thereIsMore},
    {"anim_frame_yscale", Real, 87, "1frameScaleYChanged(double)", "2setFrameScaleY(double)",
     thereIsMore},
    {"anim_frame_angle", Real, 88, "1frameAngleChanged(double)", "2setFrameAngle(double)",
     thereIsMore},
    {"anim_frame_time", Whole, 89, "1frameTimeChanged(int)", "2setFrameTime(int)", thereIsAFrame},
    {"anim_onion_skin", Check, 94, "1onionSkinChanged(bool)", "2setOnionSkin(bool)", nullptr},
    {"anim_onion_sel", Selector, 94, "1onionSelPosChanged(int)", "2setOnionSelPos(int)",
     thereIsAnAnimation},
    {"anim_onion_framesel", Selector, 94, "1onionFrameSelPosChanged(int)",
     "2setOnionFrameSelPos(int)", thereIsAnAnimation},
    {"anim_onion_lb", Text, 0, nullptr, "2setOnionText(QString)", nullptr},
    {"anim_place_lb", Text, 0, nullptr, "2setPlaceText(QString)", nullptr},
};

/// The name of a field without the colon of its label.
QString nameOf(const EditorField &field)
{
    return AnimationEditorPrivate::text(field.textId).remove(QLatin1Char(':'));
}

QString placeText(int index, int count)
{
    return QStringLiteral("%1 / %2").arg(count > 0 ? index + 1 : 0).arg(count);
}

/// Where the editor's tables say nothing else, a record has no text: labels stand beside the
/// fields.
template<class Record>
void addField(Interface *interface, QObject *receiver, const EditorField &field, Record record)
{
    record.receiver = receiver;
    record.slot = field.slot;
    record.setter = field.setter;
    record.enabler = field.enabler;
    interface->addControl(QLatin1String(field.key), record);
}

trWidgetControl translated(int kind, int textId)
{
    trWidgetControl record(kind);
    record.translator = KilnTranslator::instance();
    record.textId = textId;
    return record;
}

} // namespace

AnimationEditorPrivate::AnimationEditorPrivate(AnimationEditor *owner,
                                               Interface *host,
                                               CodeWorkspace *codeView,
                                               GraphicsWorkspace *viewport,
                                               GraphicsRenderer *shown,
                                               GraphicsRenderer::ItemType item)
    : SpriteProvider(owner)
    , editor(owner)
    , interface(host)
    , code(codeView)
    , graphics(viewport)
    , renderer(shown)
    , frameItem(item)
    , fields(owner->active)
{
    declare();
    declareFields();
    fields.setCodeEditAction(codeAction);
    connectView();
    renderer->setSprites(this);
}

AnimationEditorPrivate::~AnimationEditorPrivate()
{
    if (graphics->renderer() == renderer)
        graphics->setRenderer(nullptr);
    delete axisDialog;
    delete codeDialog;
    if (!view)
        return;
    for (QWidget *shown : {graphics->widget(), code->widget()}) {
        if (shown && view->isAncestorOf(shown))
            shown->setParent(nullptr);
    }
    delete view;
}

void AnimationEditorPrivate::declare()
{
    editorAction =
        interface->editorAction(QStringLiteral("editor_anim"), KilnTranslator::instance(), 46);
    QMenu *whole = interface->menu("animations");
    frameMenu = new QMenu(window());
    boxMenu = new QMenu(window());
    QMenu *const menus[] = {whole, frameMenu, boxMenu};
    for (const EditorAction &entry : actions) {
        const QString key = QLatin1String(entry.key);
        QMenu *menu = menus[entry.place];
        const char *checker = entry.checker && *entry.checker ? entry.checker : nullptr;
        QAction *action = interface->addAction(
            entry.isButton ? nullptr : menu, key, KilnTranslator::instance(), entry.textId,
            entry.checker, this, entry.slot, entry.enabler, checker);
        if (entry.isButton && action)
            interface->actionControl(key, action, menu);
    }
    codeAction = interface->actionByKey("anim_editcode");
    if (whole) {
        whole->addMenu(frameMenu);
        whole->addMenu(boxMenu);
    }
}

void AnimationEditorPrivate::declareFields()
{
    for (const EditorField &field : editorFields) {
        switch (field.kind) {
        case Selector:
            addField(interface, this, field, WidgetControl(Control::PositionSelector));
            break;
        case Text:
            addField(interface, this, field, WidgetControl(Control::Label));
            break;
        case Fixed:
            addField(interface, this, field, translated(Control::Label, field.textId));
            break;
        case Whole:
            addField(interface, this, field, SpinEditControl());
            break;
        case Real:
            addField(interface, this, field, FloatEditControl());
            break;
        case Choice:
            addField(interface, this, field, ComboBoxControl());
            break;
        case Check:
            addField(interface, this, field, translated(Control::CheckBox, field.textId));
            break;
        }
    }
}

QString AnimationEditorPrivate::text(int id)
{
    return KilnTranslator::instance()->text(id);
}

void AnimationEditorPrivate::setTexts()
{
    frameMenu->setTitle(AnimationEditor::tr("Frame"));
    boxMenu->setTitle(AnimationEditor::tr("Contact boxes"));
    for (const EditorField &field : editorFields) {
        QWidget *widget = interface->control(QLatin1String(field.key));
        if (!widget || field.kind == Text || field.kind == Fixed || field.kind == Check)
            continue;
        widget->setAccessibleName(nameOf(field));
        widget->setToolTip(nameOf(field));
    }
    const auto name = [this](const char *key, const QString &called) {
        if (QWidget *widget = interface->control(QLatin1String(key))) {
            widget->setAccessibleName(called);
            widget->setToolTip(called);
        }
    };
    name("anim_onion_sel", AnimationEditor::tr("Animation of the onion skin"));
    name("anim_onion_framesel", AnimationEditor::tr("Frame of the onion skin"));
    name("anim_frame_time", AnimationEditor::tr("Time in ticks of 1/60 second; -1: for ever"));
    if (auto *flips =
            qobject_cast<QComboBox *>(interface->control(QStringLiteral("anim_frame_flip")))) {
        const int now = flips->currentIndex();
        fields.beginProgramChange();
        flips->clear();
        for (const int id : {82, 83, 84, 85})
            flips->addItem(text(id));
        flips->setCurrentIndex(qMax(0, now));
        flips->setMinimumWidth(flips->sizeHint().width()); // to be read in narrow windows, too
        fields.endProgramChange();
    }
    tellCursor();
    tellRenderer();
    tellOnion();
}

void AnimationEditorPrivate::tellEnabled()
{
    const bool active = editor->isActive();
    const FrameCode *shown = active ? frame() : nullptr;
    Q_EMIT noFile(active && list);
    Q_EMIT enabled(active && animation());
    Q_EMIT frameEnabled(shown);
    Q_EMIT frameEnabledNC(shown && !isPlaying());
    Q_EMIT frameEnabledExtra(shown && shown->canTransform());
    Q_EMIT stopped(!isPlaying());
}

void AnimationEditorPrivate::setRange(const char *key, int count)
{
    fields.beginProgramChange();
    if (auto *slider = qobject_cast<QAbstractSlider *>(interface->control(QLatin1String(key))))
        slider->setRange(0, qMax(0, count - 1));
    fields.endProgramChange();
}

void AnimationEditorPrivate::tellPosition()
{
    const AnimationCode *shown = animation();
    const int frames = shown ? int(shown->frameCount()) : 0;
    fields.beginProgramChange();
    Q_EMIT setSelPos(qMax(0, row.row()));
    Q_EMIT setFrameSelPos(frameRow);
    fields.endProgramChange();
    tellOrganizer();
    Q_EMIT setPosText(placeText(row.row(), list ? int(list->count()) : 0));
    Q_EMIT setFramePosText(placeText(frameRow, frames));
}

/// A field that is being typed into keeps what is typed.
void AnimationEditorPrivate::tellFrame()
{
    const FrameCode *shown = frame();
    if (!fields.changeNotFromField())
        return;
    const QPoint offset = shown ? shown->offset() : QPoint();
    const QPointF scale = shown ? shown->scale() : QPointF(1, 1);
    fields.beginProgramChange();
    Q_EMIT setFrameX(offset.x());
    Q_EMIT setFrameY(offset.y());
    Q_EMIT setFrameFlip(shown ? int(shown->flip()) : 0);
    Q_EMIT setFrameScaleX(scale.x());
    Q_EMIT setFrameScaleY(scale.y());
    Q_EMIT setFrameAngle(shown ? shown->angle() : 0);
    Q_EMIT setFrameTime(shown ? shown->delay() : 0);
    fields.endProgramChange();
}

void AnimationEditorPrivate::tellOnion()
{
    const FrameCode *shown = onionFrame();
    auto *of = shown ? static_cast<AnimationCode *>(shown->parent()) : nullptr;
    setRange("anim_onion_framesel", of ? int(of->frameCount()) : 0);
    fields.beginProgramChange();
    Q_EMIT setOnionSelPos(of ? list->indexOf(of) : 0);
    Q_EMIT setOnionFrameSelPos(of ? shown->index() : 0);
    fields.endProgramChange();
    Q_EMIT setOnionText(
        of ? AnimationEditor::tr("Onion skin: %1, %2").arg(of->name()).arg(shown->index() + 1)
           : AnimationEditor::tr("Onion skin: none"));
}

void AnimationEditorPrivate::tellCursor()
{
    if (!editor->isActive())
        return;
    const QPoint guides = renderer->guideLines();
    interface->setStatusText(Interface::PositionField,
                             AnimationEditor::tr("Position: %1, %2").arg(mouse.x()).arg(mouse.y()));
    interface->setStatusText(Interface::GuidesField,
                             AnimationEditor::tr("Horizontal guide: %1, Vertical guide: %2")
                                 .arg(guides.y())
                                 .arg(guides.x()));
}

/// Which frame is shown, and why nothing is seen of it.
void AnimationEditorPrivate::tellPlace()
{
    const AnimationCode *shown = animation();
    const FrameCode *shownFrameNow = frame();
    QString told =
        shown && shownFrameNow
            ? AnimationEditor::tr("Animation: %1, Frame: %2").arg(shown->name()).arg(frameRow + 1)
            : AnimationEditor::tr("Animation: none, Frame: none");
    if (shownFrameNow && !shownSprite)
        told += AnimationEditor::tr(", no sprite \"%1\"").arg(shownFrameNow->identifier());
    Q_EMIT setPlaceText(told);
}

/// Where the painter is not what the user wished, the field says so.
void AnimationEditorPrivate::tellRenderer()
{
    if (!editor->isActive())
        return;
    const bool wished = interface->option(QStringLiteral("native_painting"), false).toBool();
    const bool native = wished || !graphics->isOnOpenGL();
    // Only there the platform's own interface stands in for it.
    const bool isDirectX = QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGLES &&
                           QSysInfo::kernelType() == QLatin1String("winnt");
    const QString told = AnimationEditor::tr("Renderer: %1")
                             .arg(native      ? AnimationEditor::tr("Native painter")
                                  : isDirectX ? AnimationEditor::tr("DirectX")
                                              : AnimationEditor::tr("OpenGL"));
    interface->setStatusText(
        Interface::RendererField,
        native && !wished ? AnimationEditor::tr("OpenGL does not work here. ") + told : told);
}

void AnimationEditorPrivate::clearStatus()
{
    for (const int field :
         {Interface::PositionField, Interface::GuidesField, Interface::RendererField})
        interface->setStatusText(field, QString());
}

OrganizerEditor *AnimationEditorPrivate::organizer() const
{
    return qobject_cast<OrganizerEditor *>(interface->extraEditor(0));
}

/// The organizer lets go of the list before it ends.
void AnimationEditorPrivate::showPanels(bool shown)
{
    OrganizerEditor *panel = organizer();
    if (!panel)
        return;
    panel->setObject(shown ? list.data() : nullptr);
    connect(panel, &OrganizerEditor::itemClicked, this, &AnimationEditorPrivate::organizerClicked,
            Qt::UniqueConnection);
    tellOrganizer();
}

void AnimationEditorPrivate::tellOrganizer()
{
    OrganizerEditor *panel = organizer();
    if (panel && editor->isActive())
        panel->setCurrentRow(row);
}

void AnimationEditorPrivate::organizerClicked(int clicked)
{
    if (editor->isActive() && list && organizer()->object() == list)
        select(clicked, 0, true);
}

// --- What the fields change

/// As one step of undo. Where the language says something else than what was wanted, that comes
/// back into the field; else the field keeps what is being typed into it.
void AnimationEditorPrivate::changeFrame(double wanted,
                                         double (*said)(const FrameCode *),
                                         const std::function<void(FrameCode *)> &change)
{
    if (!fields.canChangeFieldValue() || !frame())
        return;
    const QPointer<AnimationEditorPrivate> self(this);
    fields.beginChangeFieldValue();
    write([this, &change] { change(frame()); });
    if (!self)
        return;
    fields.endChangeFieldValue();
    constexpr double shown = 1e-4; // the last digit of a field
    if (frame() && std::abs(said(frame()) - wanted) > shown / 2)
        tellFrame();
}

void AnimationEditorPrivate::selPosChanged(int wanted)
{
    if (fields.canChangeFieldValue())
        select(wanted, 0, true);
}

void AnimationEditorPrivate::frameSelPosChanged(int wanted)
{
    if (fields.canChangeFieldValue() && row.isValid())
        select(row.row(), wanted, true);
}

void AnimationEditorPrivate::frameXChanged(int x)
{
    changeFrame(
        x, [](const FrameCode *shown) { return double(shown->offset().x()); },
        [x](FrameCode *shown) {
            shown->setOffset({x, shown->offset().y()});
        });
}

void AnimationEditorPrivate::frameYChanged(int y)
{
    changeFrame(
        y, [](const FrameCode *shown) { return double(shown->offset().y()); },
        [y](FrameCode *shown) {
            shown->setOffset({shown->offset().x(), y});
        });
}

void AnimationEditorPrivate::frameFlipChanged(int flip)
{
    changeFrame(
        flip, [](const FrameCode *shown) { return double(shown->flip()); },
        [flip](FrameCode *shown) { shown->setFlip(FrameCode::Flip(flip & FrameCode::FlipBoth)); });
}

void AnimationEditorPrivate::frameScaleXChanged(double factor)
{
    changeFrame(
        factor, [](const FrameCode *shown) { return shown->scale().x(); },
        [factor](FrameCode *shown) {
            shown->setScale({factor, shown->scale().y()});
        });
}

void AnimationEditorPrivate::frameScaleYChanged(double factor)
{
    changeFrame(
        factor, [](const FrameCode *shown) { return shown->scale().y(); },
        [factor](FrameCode *shown) {
            shown->setScale({shown->scale().x(), factor});
        });
}

void AnimationEditorPrivate::frameAngleChanged(double degrees)
{
    changeFrame(
        degrees, [](const FrameCode *shown) { return double(shown->angle()); },
        [degrees](FrameCode *shown) { shown->setAngle(degrees); });
}

/// -1 is the lowest that a frame knows.
void AnimationEditorPrivate::frameTimeChanged(int ticks)
{
    changeFrame(
        ticks, [](const FrameCode *shown) { return double(shown->delay()); },
        [ticks](FrameCode *shown) { shown->setDelay(qMax(-1, ticks)); });
}

} // namespace Kiln
