#pragma once

#include <kilnx/export.h>
#include <kilnx/imageedit/imagelayer.h>

#include <QtCore/QVector>
#include <QtWidgets/QUndoCommand>

namespace Kiln
{

/// A step on the undo stack of an ImageCanvas. It is pushed before the edit that it undoes, so its
/// first redo() does nothing. A step that has to do with a layer holds a reference on it, and steps
/// never merge: what belongs together stands in a macro.
class KILNX_EXPORT ImageUndoCommand : public QUndoCommand
{
public:
    explicit ImageUndoCommand(ImageCanvas *canvas, ImageLayer *layer = nullptr);
    ~ImageUndoCommand() override;
    void redo() final;

protected:
    /// Makes the edit once more, after undo().
    virtual void apply() = 0;

    bool firstRedo = true;
    ImageCanvas *const canvas;
    ImageLayer *const layer;
};

/// A layer that was put on top.
class KILNX_EXPORT RasterLayerAdd : public ImageUndoCommand
{
public:
    RasterLayerAdd(ImageCanvas *canvas, ImageLayer *layer);
    void undo() override;

protected:
    void apply() override;
};

/// A layer that was put at a row.
class KILNX_EXPORT RasterLayerInsert : public ImageUndoCommand
{
public:
    RasterLayerInsert(ImageCanvas *canvas, ImageLayer *layer, int row);
    void undo() override;

protected:
    void apply() override;

private:
    int m_row;
};

/// A layer that was taken out. It comes back on top, whatever its row was; a merge, which takes out
/// several, tells each its row, so that they come back in their order.
class KILNX_EXPORT RasterLayerDel : public ImageUndoCommand
{
public:
    RasterLayerDel(ImageCanvas *canvas, ImageLayer *layer, int backTo = 0);
    void undo() override;

protected:
    void apply() override;

private:
    int m_backTo;
};

/// A layer that was moved to another row.
class KILNX_EXPORT ImageLayerMove : public ImageUndoCommand
{
public:
    ImageLayerMove(ImageCanvas *canvas, int from, int to);
    void undo() override;

protected:
    void apply() override;

private:
    int m_from;
    int m_to;
};

/// A change of a layer's pixels. It begins with the whole picture, which costs no copy until pixels
/// change; settle() keeps only the squares of 64 by 64 pixels that did.
class KILNX_EXPORT RasterLayerEdit : public ImageUndoCommand
{
public:
    explicit RasterLayerEdit(RasterLayer *layer);
    ~RasterLayerEdit() override;
    void undo() override;
    /// The edit is done: gives back the memory of what stayed as it was. Without it, this happens
    /// with the next edit of the canvas or with undo().
    void settle();

protected:
    void apply() override;

private:
    struct Tile {
        QRect area;
        QByteArray pixels;
    };

    RasterLayer *raster() const { return static_cast<RasterLayer *>(layer); }
    QRect exchangeTiles();

    QImage m_image; ///< the whole picture, or null once settled
    QVector<Tile> m_tiles;
};

/// A name, blend mode or opacity that a layer had.
class KILNX_EXPORT ImageLayerName : public ImageUndoCommand
{
public:
    ImageLayerName(ImageLayer *layer, const QString &name);
    void undo() override;

protected:
    void apply() override;

private:
    QString m_name;
};

class KILNX_EXPORT ImageLayerBlend : public ImageUndoCommand
{
public:
    ImageLayerBlend(ImageLayer *layer, int mode);
    void undo() override;

protected:
    void apply() override;

private:
    int m_mode;
};

class KILNX_EXPORT ImageLayerOpacity : public ImageUndoCommand
{
public:
    ImageLayerOpacity(ImageLayer *layer, double opacity);
    void undo() override;

protected:
    void apply() override;

private:
    double m_opacity;
};

/// The size that a canvas had.
class KILNX_EXPORT ImageCanvasSize : public ImageUndoCommand
{
public:
    ImageCanvasSize(ImageCanvas *canvas, QSize size);
    void undo() override;

protected:
    void apply() override;

private:
    QSize m_size;
};

/// The colour format that a canvas had.
class KILNX_EXPORT ImageCanvasFormat : public ImageUndoCommand
{
public:
    ImageCanvasFormat(ImageCanvas *canvas, int format);
    void undo() override;

protected:
    void apply() override;

private:
    int m_format;
};

} // namespace Kiln
