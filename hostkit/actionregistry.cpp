#include <hostkit/actionregistry.h>

#include <kilnx/project/translator.h>

#include <QFile>
#include <QWidget>

namespace HostKit
{

namespace
{

/// Keys of commands on a list. They count only where their container has the focus.
const QMap<QString, int> listKeys{
    {"org_up", Qt::ALT + Qt::Key_Up},
    {"org_down", Qt::ALT + Qt::Key_Down},
    {"org_up_10", Qt::ALT + Qt::Key_PageUp},
    {"org_down_10", Qt::ALT + Qt::Key_PageDown},
    {"org_top", Qt::ALT + Qt::Key_Home},
    {"org_bottom", Qt::ALT + Qt::Key_End},
    {"org_auto", Qt::CTRL + Qt::SHIFT + Qt::Key_O},
    {"pal_prev", Qt::Key_PageUp},
    {"pal_next", Qt::Key_PageDown},
    {"pal_add", Qt::Key_Insert},
    {"pal_delete", Qt::Key_Delete},
    {"pal_set_color", Qt::Key_Return},
    {"pal_switch_color", Qt::ALT + Qt::Key_X},
    {"pal_undo", Qt::ALT + Qt::Key_Z},
    {"pal_redo", Qt::ALT + Qt::SHIFT + Qt::Key_Z},
};

/// Keys of commands on a picture. They count where their container, or what is in it, has the
/// focus.
const QMap<QString, int> viewKeys{
    {"spr_tool_canvasmove", Qt::Key_H},
    {"spr_tool_selmove", Qt::Key_M},
    {"spr_tool_rectsel", Qt::Key_R},
    {"spr_tool_freesel", Qt::Key_L},
    {"spr_tool_picker", Qt::Key_I},
    {"spr_tool_pen", Qt::Key_P},
    {"spr_tool_eraser", Qt::Key_E},
    {"spr_tool_remap_pen", Qt::Key_X},
    {"spr_tool_paintbucket", Qt::Key_G},
    {"spr_select_all", Qt::CTRL + Qt::Key_A},
    {"spr_select_none", Qt::CTRL + Qt::Key_D},
    {"spr_select_invert", Qt::CTRL + Qt::SHIFT + Qt::Key_X},
    {"snd_add", Qt::Key_Insert},
    {"snd_delete", Qt::Key_Delete},
    {"snd_play", Qt::Key_Space},
    {"snd_play_loop", Qt::Key_L},
    {"snd_stop", Qt::Key_Escape},
    {"snd_prev", Qt::Key_PageUp},
    {"snd_next", Qt::Key_PageDown},
};

constexpr int chord = Qt::CTRL + Qt::ALT;
constexpr int otherChord = chord + Qt::SHIFT;
constexpr int shifted = Qt::CTRL + Qt::SHIFT;
constexpr int altered = Qt::ALT + Qt::SHIFT;

/// Keys that count in the whole window, while their command is enabled.
const QMap<QString, int> windowKeys{
    {"spr_prev", Qt::CTRL + Qt::Key_PageUp},
    {"spr_next", Qt::CTRL + Qt::Key_PageDown},
    {"anim_editcode", chord + Qt::Key_E},
    {"anim_code", chord + Qt::Key_C},
    {"anim_add", chord + Qt::Key_N},
    {"anim_delete", otherChord + Qt::Key_N},
    {"anim_duplicate", chord + Qt::Key_D},
    {"anim_save_gif", chord + Qt::Key_G},
    {"anim_play", Qt::Key_F9},
    {"anim_stop", Qt::SHIFT + Qt::Key_F9},
    {"anim_frame_add", chord + Qt::Key_F},
    {"anim_frame_delete", otherChord + Qt::Key_F},
    {"anim_frameall_offset", otherChord + Qt::Key_P},
    {"anim_frameall_time", otherChord + Qt::Key_T},
    {"anim_frameall_flip", otherChord + Qt::Key_M},
    {"anim_frameall_scale", otherChord + Qt::Key_Z},
    {"anim_frame_align", chord + Qt::Key_L},
    {"anim_box_add_attack", chord + Qt::Key_A},
    {"anim_box_add_collision", chord + Qt::Key_B},
    {"anim_box_del", chord + Qt::Key_Backspace},
    {"anim_box_delall", otherChord + Qt::Key_Backspace},
    {"anim_box_delall_anim", otherChord + Qt::Key_B},
    {"anim_box_type", chord + Qt::Key_X},
    {"anim_box_prev", chord + Qt::Key_V},
    {"anim_box_allinst", otherChord + Qt::Key_V},
    {"anim_optimize", chord + Qt::Key_O},
    {"anim_export", otherChord + Qt::Key_E},
    {"anim_import", chord + Qt::Key_I},
    {"anim_import_proj", otherChord + Qt::Key_I},
    {"anim_pos_left", Qt::ALT + Qt::SHIFT + Qt::Key_Left},
    {"anim_pos_up", Qt::ALT + Qt::SHIFT + Qt::Key_Up},
    {"anim_pos_right", Qt::ALT + Qt::SHIFT + Qt::Key_Right},
    {"anim_pos_down", Qt::ALT + Qt::SHIFT + Qt::Key_Down},
    {"anim_prev_anim", chord + Qt::Key_Home},
    {"anim_next_anim", chord + Qt::Key_End},
    {"anim_prev_frame", chord + Qt::Key_PageUp},
    {"anim_next_frame", chord + Qt::Key_PageDown},
    {"code_goto", Qt::CTRL + Qt::Key_L},
    {"code_comment", Qt::CTRL + Qt::Key_Slash},
    {"code_fold_all", chord + Qt::Key_Minus},
    {"code_unfold_all", chord + Qt::Key_Plus},
    {"code_next_error", Qt::CTRL + Qt::Key_F8},
    {"code_prev_error", Qt::CTRL + Qt::SHIFT + Qt::Key_F8},
    {"code_next_deprecation", Qt::ALT + Qt::Key_F8},
    {"code_prev_deprecation", Qt::ALT + Qt::SHIFT + Qt::Key_F8},
    {"code_snippet_insert", Qt::CTRL + Qt::Key_J},
    {"code_snippet_new", chord + Qt::Key_J},
    {"code_snippet_edit", otherChord + Qt::Key_J},
    {"view_code_bar", chord + Qt::Key_T},
    {"view_center_origin", chord + Qt::Key_0},
    {"view_main_cross", chord + Qt::Key_1},
    {"view_secondary_cross", chord + Qt::Key_2},
    {"view_extra_cross", chord + Qt::Key_3},
    {"view_rulers", chord + Qt::Key_4},
    {"view_guide_lines", chord + Qt::Key_5},
    {"view_attack_box", chord + Qt::Key_6},
    {"view_collision_box", chord + Qt::Key_7},
    {"anim_onion_skin", chord + Qt::Key_8},
    {"editor_definition", Qt::CTRL + Qt::Key_1},
    {"editor_code", Qt::CTRL + Qt::Key_2},
    {"editor_commands", Qt::CTRL + Qt::Key_3},
    {"editor_anim", Qt::CTRL + Qt::Key_4},
    {"editor_spr", Qt::CTRL + Qt::Key_5},
    {"editor_snd", Qt::CTRL + Qt::Key_6},
    {"editor_text", Qt::CTRL + Qt::Key_7},
    {"org_palette", otherChord + Qt::Key_L},
    {"pal_open", altered + Qt::Key_O},
    {"pal_save", altered + Qt::Key_S},
    {"pal_clear", altered + Qt::Key_C},
    {"pal_clear_unused", altered + Qt::Key_U},
    {"pal_delete_duplicates", altered + Qt::Key_D},
    {"pal_remap", altered + Qt::Key_R},
    {"pal_apply_sprite", altered + Qt::Key_A},
    {"spr_new", shifted + Qt::Key_N},
    {"spr_add", shifted + Qt::Key_A},
    {"spr_delete", shifted + Qt::Key_Delete},
    {"spr_duplicate", shifted + Qt::Key_D},
    {"spr_openimg", shifted + Qt::Key_G},
    {"spr_saveimg", shifted + Qt::Key_P},
    {"spr_saveimgas", shifted + Qt::Key_E},
    {"spr_crop", shifted + Qt::Key_C},
    {"spr_image_properties", altered + Qt::Key_I},
    {"spr_resize", shifted + Qt::Key_R},
    {"spr_image_rotate", shifted + Qt::Key_T},
    {"spr_image_fliph", shifted + Qt::Key_H},
    {"spr_image_flipv", shifted + Qt::Key_V},
    {"spr_layer_add", altered + Qt::Key_Insert},
    {"spr_layer_delete", altered + Qt::Key_Delete},
    {"spr_layer_duplicate", shifted + Qt::Key_J},
    {"spr_layer_mergevis", shifted + Qt::Key_M},
    {"spr_layer_mergeall", shifted + Qt::Key_K},
    {"spr_import_proj", otherChord + Qt::Key_S},
    {"spr_split_channels", otherChord + Qt::Key_C},
    {"spr_switch_pal", otherChord + Qt::Key_D},
    {"spr_frame_spr", otherChord + Qt::Key_G},
    {"spr_view_original", shifted + Qt::Key_B},
    {"snd_duplicate", chord + Qt::Key_U},
    {"snd_import_proj", chord + Qt::Key_M},
    {"snd_open_sample", chord + Qt::Key_Q},
    {"snd_resample", chord + Qt::Key_Y},
    {"snd_save_sample", chord + Qt::Key_H},
    {"thumb_add_selected", otherChord + Qt::Key_R},
    {"thumb_add_all", otherChord + Qt::Key_X},
    {"thumb_new_selected", otherChord + Qt::Key_W},
    {"thumb_new_all", otherChord + Qt::Key_Y},
    {"thumb_save", otherChord + Qt::Key_K},
};

} // namespace

ActionRegistry::ActionRegistry(QWidget *window)
    : QObject(window)
    , m_window(window)
{
}

QAction *ActionRegistry::add(const ActionRequest &request)
{
    auto *action = new QAction(icon(request.key), QString(), m_window);
    action->setObjectName(request.key);
    action->setCheckable(request.checkable);
    if (listKeys.contains(request.key)) {
        action->setShortcut(QKeySequence(listKeys.value(request.key)));
        action->setShortcutContext(Qt::WidgetShortcut);
    } else if (viewKeys.contains(request.key)) {
        action->setShortcut(QKeySequence(viewKeys.value(request.key)));
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    } else if (windowKeys.contains(request.key)) {
        action->setShortcut(QKeySequence(windowKeys.value(request.key)));
    }
    const Entry entry{action, request.receiver, request.translator, request.textId};
    setTexts(entry);
    m_entries.insert(request.key, entry);
    if (action->shortcutContext() == Qt::WindowShortcut) // others count where they are shown
        m_window->addAction(action);
    if (request.container)
        request.container->addAction(action);
    Q_EMIT added(action);

    if (!request.receiver)
        return action;
    if (request.slot) {
        const bool takesCheck = QByteArray(request.slot).endsWith("(bool)");
        connect(action, takesCheck ? SIGNAL(triggered(bool)) : SIGNAL(triggered()),
                request.receiver, request.slot);
    }
    if (request.enabler) {
        action->setEnabled(false);
        connect(request.receiver, request.enabler, action, SLOT(setEnabled(bool)));
    }
    if (request.checker)
        connect(request.receiver, request.checker, action, SLOT(setChecked(bool)));
    return action;
}

void ActionRegistry::enroll(QAction *action)
{
    m_entries.insert(action->objectName(), {action, nullptr, nullptr, 0});
    Q_EMIT added(action);
}

void ActionRegistry::setKeys(QAction *action, const QList<QKeySequence> &keys)
{
    action->setShortcuts(keys);
    setTexts(m_entries.value(action->objectName()));
}

QAction *ActionRegistry::action(const QString &key) const
{
    return m_entries.value(key).action;
}

QList<QAction *> ActionRegistry::actions() const
{
    QList<QAction *> made;
    for (const Entry &entry : m_entries) {
        if (entry.action)
            made.append(entry.action);
    }
    return made;
}

QObject *ActionRegistry::receiver(const QAction *action) const
{
    return action ? m_entries.value(action->objectName()).receiver : nullptr;
}

void ActionRegistry::retranslate()
{
    for (const Entry &entry : qAsConst(m_entries))
        setTexts(entry);
}

QString ActionRegistry::group(const QString &key)
{
    return key.section(QLatin1Char('_'), 0, 0);
}

QIcon ActionRegistry::icon(const QString &key)
{
    const QString name = QStringLiteral(":/kiln_icons/icons/%1.png");
    for (const QString &part : {key, key.section(QLatin1Char('_'), 1)}) {
        if (part.isEmpty() || !QFile::exists(name.arg(part)))
            continue;
        // The same picture in a selected row: a style would tint it with the row's own colour.
        QIcon icon(name.arg(part));
        icon.addFile(name.arg(part), QSize(), QIcon::Selected);
        return icon;
    }
    return QIcon();
}

void ActionRegistry::setTexts(const Entry &entry)
{
    if (!entry.action || !entry.translator)
        return;
    const QString text = entry.translator->text(entry.textId);
    const QString hint = entry.translator->hint(entry.textId);
    const QString keys = entry.action->shortcut().toString(QKeySequence::NativeText);
    entry.action->setText(text);
    entry.action->setToolTip((hint.isEmpty() ? text : hint) +
                             (keys.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(keys)));
    entry.action->setStatusTip(hint);
}

} // namespace HostKit
