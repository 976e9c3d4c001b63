#pragma once

#include <kilnx/editors/fieldguard.h>
#include <kilnx/editors/importplan_p.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/forms/sprimport.h>
#include <kilnx/image/sprite.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagerenderer.h>

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>

#include <array>
#include <functional>

class QAction;
class QListView;
class QMenu;

class QDropEvent;
class SprImportDlg;

namespace Kiln
{

class GraphicsWorkspace;
class Interface;
class LayerDrag;
class OrganizerEditor;
class PaletteEditor;
class PaletteWidget;
class ThumbnailsEditor;

/// The state of a SpriteEditor, the slots of its actions and the signals that rule them.
///
/// construction and fields are in spriteeditor_fields.cpp, pictures of files in
/// spriteeditor_files.cpp, and what works on the canvas in spriteeditor_canvas.cpp.
class SpriteEditorPrivate : public QObject
{
    Q_OBJECT

public:
    SpriteEditorPrivate(SpriteEditor *editor,
                        Interface *interface,
                        GraphicsWorkspace &workspace,
                        PaletteEditor *palettes);
    ~SpriteEditorPrivate() override;

    /// Whether, behind a box or other events, the same sprite of the same file is shown.
    class Still
    {
    public:
        explicit Still(SpriteEditorPrivate *d)
            : m_d(d)
            , m_stamp(d->stamp)
        {
        }
        bool isSo() const { return m_d && m_d->sprites && m_d->stamp == m_stamp; }

    private:
        QPointer<SpriteEditorPrivate> m_d;
        int m_stamp;
    };

    /// Where a step of the canvas brings the sprite's own point.
    using Move = std::function<QPoint(QPoint)>;

    ImageCanvas &canvas() const { return renderer->canvas; }
    QWidget *window() const;
    /// Null without a file, and for an empty one.
    Sprite *sprite() const { return sprites ? current : nullptr; }
    bool isDirty() const;

    // spriteeditor_fields.cpp
    void declare();
    void declareTools();
    void declareLayers();
    void setTexts();
    void tellEnabled();
    void tellPosition();
    void tellLayer();
    void tellTool();
    void tellCursor(QPoint at);
    void tellRenderer();
    void clearStatus();
    OrganizerEditor *organizer() const;
    ThumbnailsEditor *thumbnails() const;
    void showPanels(bool shown);

    // spriteeditor.cpp
    void setFile(Sprites *file);
    bool setCurrent(unsigned int index);
    bool mayLeave();
    bool mayUndoFile();
    void discard();
    void forgetSteps();
    void showWhole(bool later);
    void sizeChanged();
    void showCurrent();
    void spriteChanged(Sprite *sprite);
    void spriteCountChanged();
    void rowsChanged();
    void contentsModified();
    void reloaded();
    void attach();
    void chooseColors();
    void showColors();
    void colorsShown();
    void followFrame();
    void saveOrDiscard();
    bool confirmDelete() const;

    // spriteeditor_files.cpp
    void setSpriteImage(const QImage &image);
    QString openFilter() const;
    void warnOfPicture(const QString &fileName);
    void addFiles(const QStringList &files);
    bool dropped(QDropEvent *event);
    bool eventFilter(QObject *watched, QEvent *event) override;
    void takePicture(const std::function<void()> &change);
    QImage pictureOf(unsigned int index);
    void insertSprite(const QString &identifier, const QImage &image);
    QString freeIdentifier(const QString &wish) const;

    // spriteeditor_import.cpp
    Palette *copiedPalette(const Sprites &source, int paletteRow);
    int importFrom(Sprites &from, const SprImportDlg &dialog);
    Sprite *targetOf(const ImportPlan::Step &step, unsigned int *at);

    // spriteeditor_canvas.cpp
    /// The canvas as the sprite would have it.
    QImage flattened();
    QImage unsaved();
    /// The colours that indexes stand for on the canvas.
    QVector<QRgb> colorTable() const;
    void edit(const char *step, const Move &move, const std::function<void()> &change);
    QPoint movedOffset() const;
    QImage copied() const;
    QImage adapted(QImage picture) const;
    QImage previewPicture() const;
    QImage blankPicture(int format, QSize size) const;
    void selectRow(int row);
    ImageLayer *layer() const;

    SpriteEditor *const editor;
    QPointer<PaletteEditor> palettes;
    ImageRenderer *renderer = nullptr; ///< a child
    QPointer<Sprites> sprites;
    Sprite *current = nullptr; ///< valid while `row` is
    FieldGuard fields;
    Interface *const interface;
    QPointer<PaletteWidget> colors; ///< the grid of `palettes`, or an own one
    GraphicsWorkspace &workspace;
    ColorPalette *palette = nullptr; ///< a child
    QPersistentModelIndex row;       ///< of `current`
    QString identifier;              ///< of `current`, for after a reload
    QSize sizeBefore;                ///< of the canvas
    QImage shown;                    ///< the picture that the canvas was made of
    QVector<Move> moves;             ///< of the canvas's steps that are done and not saved
    int stamp = 0;                   ///< counts the sprites and files that were shown
    bool working = false;            ///< between the start and the end of a longer command
    std::array<QPointer<QAction>, ImageRenderer::ToolCount> toolActions;
    QPointer<QAction> editorAction;
    QPointer<QAction> frameAction;
    QPointer<QAction> originalAction;
    QPointer<QListView> layerView;
    LayerDrag *layerDrag = nullptr; ///< a child
    QMenu *layerMenu = nullptr;     ///< these four belong to the main window
    QMenu *imageMenu = nullptr;
    QMenu *rotationMenu = nullptr;
    QMenu *selectMenu = nullptr;
    bool usesSpritePalette = true;
    bool isDetached = false;   ///< the canvas waits for the sprite of a reloaded file
    bool hasFileSteps = false; ///< the file may have something to undo
    bool hasLaterStep = false; ///< the file's last step came while the canvas had some
    bool hasColors = false;    ///< the grid has colours of a file, or the basic ones
    bool isFitted = false;     ///< the view was brought to a picture's size

public Q_SLOTS:
    void add();
    void addNew();
    void del();
    void duplicate();
    void openImg();
    bool saveImg();
    void saveImgAs();
    void resize();
    void crop();
    void splitRGB();
    void layerAdd();
    void layerDel();
    void layerClone();
    void layerMergeVis();
    void layerMergeAll();
    void imgViewOrig(bool shown);
    void imgProps();
    void selAll();
    void selNone();
    void selInv();
    void imgRotate();
    void imgFlipH();
    void imgFlipV();
    void projImport();
    void frameSpr(bool follows);
    void previous();
    void next();
    void layerBlending(int row);
    void layerOpacity(int percent);
    void selPosChanged(int index);
    void switchPalChanged(bool follows);
    void layerChosen(const QModelIndex &index);
    void chooseTool();
    void organizerClicked(int clicked);
    void thumbnailChosen(int chosen);
    void copy();
    void cut();
    void paste();

Q_SIGNALS:
    /// There is a file.
    void noFile(bool there);
    /// There is a current sprite.
    void enabled(bool there);
    /// There is a current layer.
    void enabled2(bool there);
    /// There is one, of a canvas whose layers blend and fade.
    void blendingEnabled(bool there);
    void setSelPos(int index);
    void setPosText(const QString &text);
    void setLayerBlending(int row);
    void setLayerOpacity(int percent);
    void setSwitchPal(bool follows);
};

} // namespace Kiln
