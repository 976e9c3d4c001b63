#pragma once

#include <kilnx/export.h>
#include <kilnx/image/palette.h>
#include <kilnx/project/editor.h>

#include <QtCore/QVariant>

#include <memory>

namespace Kiln
{

class Palette;
class PaletteEditorPrivate;
class Palettes;
class PaletteWidget;

/// The side panel that shows the palettes of a sprite file, one at a time, and edits them.
///
/// The editor of sprites hands it the palettes of its current file with setPalettes(). What is
/// edited in the grid of colours goes into the current palette at once; the grid keeps up to eleven
/// steps of undo of its own, and forgets them when another palette, or a palette that was changed
/// elsewhere, comes to be shown. All changes of the list are steps of the file's undo.
///
/// The panel declares its actions to the host under keys that begin with "pal_", the action
/// "org_palette", which has the organizer show the palettes instead of the sprites, and the
/// controls "pal_sel", "pal_sel_lb" and "pal_view", the grid. It reads the options "confirm_delete"
/// and "project_path".
///
/// A file that cannot be read or written is named in one message, and the others go their way. The
/// project may be closed while any box of the panel is open: nothing happens then.
class KILNX_EXPORT PaletteEditor : public ExtraEditor
{
    Q_OBJECT

public:
    /// The host must be installed.
    explicit PaletteEditor(QObject *parent = nullptr);
    ~PaletteEditor() override;

    /// "palettes".
    const char *name() const override;
    QString displayName() const override;
    /// True follows the editor of sprites from then on, false lets go of it: the panel comes when
    /// that editor becomes visible, unless another panel is shown, and goes with it.
    void engineSwitched(bool switched) override;
    void retranslate() override;
    void release() override;

    /// The palette that is shown; null without any.
    Palette *currentPalette() const;
    /// Shows a palette of palettes(); others and null are ignored.
    void setCurrentPalette(Palette *palette);
    Palettes *palettes() const;
    /// Shows the palettes of another file, at their current one; null for none. They stay their
    /// file's, which may be destroyed meanwhile.
    void setPalettes(Palettes *palettes);
    /// Puts colours under the name that paletteIdentifier() gives: over the palette of that name,
    /// or as a new one at the end. Nothing without palettes or without a name.
    void setPalette(RGBA (&colors)[256]);
    /// The grid of colours; null when the host has destroyed it.
    PaletteWidget *widget() const;
    /// Whether the position selector may choose a palette: the panel is active and not filling it.
    bool canChangeFieldValue() const;
    /// Has the host show the editor "sprites", unless it is shown. Whether it is active then.
    bool switchToSprites();

    /// The palette that is shown, or its colours, have changed; null when there is none any more.
    /// Emits paletteShown().
    virtual void paletteChanged(Palette *palette);
    /// The table of palettes that stand in for others has changed. Shows the last palette if their
    /// count has changed with it, and emits remapped().
    virtual void remapChanged();

Q_SIGNALS:
    /// The grid shows another palette, or other colours.
    void paletteShown(Kiln::Palette *palette);
    /// What stands in for what has changed: views of animations look different.
    void remapped();

protected:
    /// The name under which setPalette() puts colours: an engine asks the user, or knows. Invalid
    /// here, and where nothing is to happen.
    virtual QVariant paletteIdentifier();

private:
    friend class PaletteEditorPrivate;

    std::unique_ptr<PaletteEditorPrivate> d;
};

} // namespace Kiln
