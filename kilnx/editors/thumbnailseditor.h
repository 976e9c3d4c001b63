#pragma once

#include <kilnx/export.h>
#include <kilnx/project/editor.h>

#include <memory>

class QListView;

namespace Kiln
{

class Sprites;
class ThumbnailsEditorPrivate;
class ThumbnailsModel;

/// The side panel that shows the sprites of a file as a grid of pictures, from which frames and
/// animations are made: by its commands, and by dragging pictures away (see SpriteMime).
///
/// The editor of sprites hands it its file with setSprites(); beside any other editor the panel
/// shows the sprites of the current project when it is activated. It works on the animations of
/// that file's project: what is added to the current animation (Animations::selected()) comes
/// behind its last frame, and each command is one step of undo.
///
/// The panel declares the list "thumb_list", its slider "thumb_size" and the actions
/// "thumb_add_selected", "thumb_add_all", "thumb_new_selected", "thumb_new_all" and "thumb_save" to
/// the host. It keeps the size of the pictures in the option "thumbnails_size", and reads
/// "back_start" and "back_end", the ground behind them.
class KILNX_EXPORT ThumbnailsEditor : public ExtraEditor
{
    Q_OBJECT

public:
    /// The sides of pictures that the slider gives, in pixels of the screen's scale.
    static constexpr int smallestSide = 32;
    static constexpr int largestSide = 192;

    /// The host must be installed, and must make a QListView for a ListViewControl.
    explicit ThumbnailsEditor(QObject *parent = nullptr);
    ~ThumbnailsEditor() override;

    /// "thumbnails".
    const char *name() const override;
    QString displayName() const override;
    void activate() override;
    void reconfig() override;
    void retranslate() override;
    void release() override;

    /// Shows the sprites of a file, or none for null. They stay their file's, which may be
    /// destroyed meanwhile.
    void setSprites(Sprites *sprites);
    Sprites *sprites() const;
    /// Makes a row current, and selects it alone unless it is one of those that are selected.
    void showSprite(int row);
    ThumbnailsModel *model() const;

public Q_SLOTS:
    void addSelected();
    void addAll();
    void newWithSelected();
    void newWithAll();
    void saveSelected();
    /// The side of the pictures.
    void setSide(int pixels);

Q_SIGNALS:
    /// The user has chosen one sprite: by a click or by the keys.
    void spriteChosen(int row);
    /// There are sprites.
    void enabled(bool there);
    /// Some of them are selected.
    void selected(bool any);
    void setSize(int pixels);

private:
    std::unique_ptr<ThumbnailsEditorPrivate> d;
};

} // namespace Kiln
