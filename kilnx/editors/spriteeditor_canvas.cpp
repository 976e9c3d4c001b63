// What the sprite editor does with the picture on its canvas: layers, the selection, the clipboard,
// and the operations on the whole.

#include <kilnx/editors/spriteeditor_p.h>
#include <kilnx/forms/imagedlgs.h>
#include <kilnx/image/imageops.h>
#include <kilnx/imageedit/imagecommands.h>
#include <kilnx/imageedit/imageturn_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>

#include <QtGui/QClipboard>
#include <QtGui/QPainter>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

/// The side of what dialogs show of a picture.
constexpr int previewSide = 192;

/// A step of the canvas that the sprite's own point goes along with once the canvas is saved.
class OffsetCommand : public ImageUndoCommand
{
public:
    OffsetCommand(SpriteEditorPrivate *d, const SpriteEditorPrivate::Move &move)
        : ImageUndoCommand(&d->canvas())
        , m_d(d)
        , m_move(move)
    {
        m_d->moves.append(m_move);
    }
    void undo() override { m_d->moves.removeLast(); }

protected:
    void apply() override { m_d->moves.append(m_move); }

private:
    SpriteEditorPrivate *const m_d;
    const SpriteEditorPrivate::Move m_move;
};

/// Calls `change` for each run of equal mask values in each row of a picture: y, start, end, value.
template<class Change>
void forEachRun(const QImage &mask, QSize picture, Change &&change)
{
    const QSize size = mask.size().boundedTo(picture);
    for (int y = 0; y < size.height(); ++y) {
        const uchar *line = mask.constScanLine(y);
        for (int x = 0; x < size.width();) {
            const int start = x;
            while (x < size.width() && line[x] == line[start])
                ++x;
            change(y, start, x, line[start]);
        }
    }
}

void fillRun(QImage &image, int y, int start, int end, unsigned int fill)
{
    uchar *line = image.scanLine(y);
    if (image.format() == QImage::Format_Indexed8)
        std::memset(line + start, int(fill & 0xff), size_t(end - start));
    else
        std::fill(reinterpret_cast<QRgb *>(line) + start, reinterpret_cast<QRgb *>(line) + end,
                  fill);
}

/// Whether the picture's indexes stand for the same colours in a palette.
bool fits(const QImage &picture, const QVector<QRgb> &table)
{
    const QVector<QRgb> own = picture.colorTable();
    return std::mismatch(own.cbegin(), own.cend(), table.cbegin(), table.cend()).first ==
           own.cend();
}

/// How far a middle moves when a side grows.
QPoint half(QSize difference)
{
    return {difference.width() / 2, difference.height() / 2};
}

} // namespace

/// One step of undo. The sprite's own point goes along by `move`, when the canvas is saved.
void SpriteEditorPrivate::edit(const char *step,
                               const Move &move,
                               const std::function<void()> &change)
{
    canvas().undoStack.beginMacro(QLatin1String(step));
    change();
    if (move)
        canvas().undoStack.push(new OffsetCommand(this, move));
    canvas().undoStack.endMacro();
}

/// Where the sprite's own point is on the canvas.
QPoint SpriteEditorPrivate::movedOffset() const
{
    QPoint offset = editor->spriteOffset(current);
    for (const Move &move : moves)
        offset = move(offset);
    return offset;
}

QVector<QRgb> SpriteEditorPrivate::colorTable() const
{
    QVector<QRgb> table(256);
    uchar index = 0;
    for (QRgb &color : table)
        color = palette->rgbAt(index++);
    return table;
}

// --- Layers

void SpriteEditorPrivate::layerAdd()
{
    if (!sprite() || canvas().size.isEmpty())
        return;
    const int number = canvas().layers.rowCount() + 1;
    if (ImageLayer *added = canvas().layers.addLayer(nullptr))
        added->setName(SpriteEditor::tr("Layer %1").arg(number), false);
    selectRow(0);
}

void SpriteEditorPrivate::layerDel()
{
    const int shownRow = canvas().layers.indexOf(layer());
    canvas().layers.removeLayer(shownRow, true);
    selectRow(qMin(shownRow, canvas().layers.rowCount() - 1));
}

void SpriteEditorPrivate::layerClone()
{
    if (!layer())
        return;
    const int shownRow = canvas().layers.indexOf(layer());
    ImageLayer *copy = layer()->clone();
    copy->name = SpriteEditor::tr("%1 copy").arg(layer()->name);
    canvas().layers.insertLayer(copy, shownRow, true);
    copy->release();
    selectRow(shownRow);
}

void SpriteEditorPrivate::layerMergeVis()
{
    canvas().mergeVisible();
    selectRow(0);
}

void SpriteEditorPrivate::layerMergeAll()
{
    canvas().mergeAll();
    selectRow(0);
}

void SpriteEditorPrivate::imgViewOrig(bool isShown)
{
    renderer->setViewOriginal(isShown);
}

// --- The selection

void SpriteEditorPrivate::selAll()
{
    ImageSelection &selection = canvas().selection;
    selection.rect = QRect(QPoint(), canvas().size);
    selection.select(selection.rect);
    selection.active = true;
    canvas().announceSelection();
}

void SpriteEditorPrivate::selNone()
{
    canvas().selection.reset(canvas().size);
    canvas().selection.active = false;
    canvas().announceSelection();
}

/// Without a selection nothing is selected, so all is then.
void SpriteEditorPrivate::selInv()
{
    ImageSelection &selection = canvas().selection;
    if (!selection.active) {
        selAll();
        return;
    }
    for (int y = 0; y < selection.mask.height(); ++y) {
        uchar *line = selection.mask.scanLine(y);
        std::transform(line, line + selection.mask.width(), line,
                       [](uchar value) { return uchar(value == 0); });
    }
    selection.rect = QRect();
    canvas().announceSelection();
}

// --- The clipboard

/// The current layer at the canvas's size, with the background where it is not selected.
QImage SpriteEditorPrivate::copied() const
{
    const RasterLayer *raster = renderer->paintedLayer();
    if (!raster)
        return {};
    QImage picture = raster->image.copy(QRect(QPoint(), canvas().size));
    if (canvas().selection.active) {
        const unsigned int fill = canvas().fillColor();
        forEachRun(canvas().selection.mask, picture.size(),
                   [&](int y, int start, int end, int value) {
                       if (value == 0)
                           fillRun(picture, y, start, end, fill);
                   });
    }
    if (picture.format() == QImage::Format_Indexed8)
        picture.setColorTable(colorTable());
    return picture;
}

void SpriteEditorPrivate::copy()
{
    const QImage picture = copied();
    if (!picture.isNull())
        QApplication::clipboard()->setImage(picture);
}

void SpriteEditorPrivate::cut()
{
    copy();
    RasterLayer *raster = renderer->beginEdit();
    if (!raster)
        return;
    const unsigned int fill = canvas().fillColor();
    const ImageSelection &selection = canvas().selection;
    forEachRun(selection.mask, raster->image.size(), [&](int y, int start, int end, int value) {
        if (value > 0 || !selection.active)
            fillRun(raster->image, y, start, end, fill);
    });
    canvas().announceImage();
    canvas().settleEdit();
}

/// The picture in the canvas's format, and in its palette where it is indexed.
QImage SpriteEditorPrivate::adapted(QImage picture) const
{
    if (canvas().format == RGBACanvas)
        return picture.convertToFormat(QImage::Format_ARGB32);
    const QVector<QRgb> table = colorTable();
    if (picture.format() == QImage::Format_Indexed8 && fits(picture, table))
        return picture;
    if (picture.format() != QImage::Format_Indexed8)
        picture = picture.convertToFormat(picture.hasAlphaChannel() ? QImage::Format_ARGB32
                                                                    : QImage::Format_RGB32);
    adaptImageToPalette(picture, palette->colors());
    return picture;
}

void SpriteEditorPrivate::paste()
{
    QImage picture = QApplication::clipboard()->image();
    if (picture.isNull() || !sprites)
        return;
    if (!sprite()) {
        insertSprite(SpriteEditor::tr("Sprite"), picture);
        return;
    }
    if (canvas().size.isEmpty()) {
        setSpriteImage(picture);
        return;
    }
    picture = adapted(picture);
    const int number = canvas().layers.rowCount() + 1;
    edit("paste", nullptr, [&] {
        const QSize size = canvas().size.expandedTo(picture.size());
        if (size != canvas().size)
            canvas().setSize(size, QPoint(), true);
        QImage whole(canvas().size, picture.format());
        whole.fill(0);
        for (int y = 0; y < qMin(whole.height(), picture.height()); ++y)
            std::memcpy(whole.scanLine(y), picture.constScanLine(y),
                        size_t(qMin(whole.width(), picture.width())) * size_t(whole.depth() / 8));
        if (ImageLayer *added = canvas().layers.addLayer(&whole))
            added->setName(SpriteEditor::tr("Layer %1").arg(number), false);
    });
    selectRow(0);
}

// --- The whole picture

void SpriteEditorPrivate::imgProps()
{
    if (!sprite())
        return;
    const Still still(this);
    const bool isEmpty = canvas().size.isEmpty();
    ImgInfoDlg dialog(window(), SpriteEditor::tr("Properties"), canvas().format,
                      isEmpty ? QSize(32, 32) : canvas().size);
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    if (isEmpty) {
        setSpriteImage(blankPicture(dialog.format(), dialog.imageSize()));
        return;
    }
    if (dialog.imageSize() == canvas().size && dialog.format() == canvas().format)
        return;
    const QPoint moved = half(dialog.imageSize() - canvas().size);
    edit(
        "properties", [moved](QPoint offset) { return offset + moved; },
        [&] {
            canvas().setFormat(dialog.format(), true);
            canvas().setSize(dialog.imageSize(), moved, true);
        });
}

/// What dialogs work on: the picture as it shows, scaled down.
QImage SpriteEditorPrivate::previewPicture() const
{
    const QImage &picture = renderer->picture();
    if (qMax(picture.width(), picture.height()) <= previewSide)
        return picture;
    return picture.scaled(previewSide, previewSide, Qt::KeepAspectRatio);
}

void SpriteEditorPrivate::resize()
{
    if (!sprite() || canvas().size.isEmpty())
        return;
    const Still still(this);
    const QSize before = canvas().size;
    const QImage small = previewPicture();
    const double scale = double(small.width()) / before.width();
    RGBA table[256];
    palette->copyTo(table);
    const auto preview = [&](QSize size, int filter) {
        size = (QSizeF(size) * scale).toSize().expandedTo(QSize(1, 1));
        size = size.boundedTo(QSize(4 * previewSide, 4 * previewSide));
        QImage shownSmall = resizeImage(small, size, table, ImageResizeFilter(filter));
        shownSmall.setColorTable(small.colorTable());
        return shownSmall;
    };
    ImgResizeDlg dialog(window(), before, preview);
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const QSize size = dialog.imageSize();
    if (size == before)
        return;
    const auto scaled = [size, before](QPoint offset) {
        return QPoint(int(float(offset.x()) * float(size.width()) / float(before.width())),
                      int(float(offset.y()) * float(size.height()) / float(before.height())));
    };
    edit("resize", scaled, [&] { canvas().resize(size, dialog.filter()); });
}

void SpriteEditorPrivate::imgRotate()
{
    if (!sprite() || canvas().size.isEmpty())
        return;
    const Still still(this);
    const QImage small = previewPicture();
    const unsigned int fill = canvas().fillColor();
    RGBA table[256];
    palette->copyTo(table);
    const auto preview = [&](float degrees, int filter) {
        QImage turned = turnedPicture(small, degrees, filter, table, fill);
        turned.setColorTable(small.colorTable());
        return turned;
    };
    RotImgDlg dialog(window(), preview);
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    canvas().rotate(dialog.degrees(), dialog.filter());
}

void SpriteEditorPrivate::imgFlipH()
{
    const int width = canvas().size.width();
    edit(
        "flip", [width](QPoint offset) { return QPoint(width - offset.x() - 1, offset.y()); },
        [this] { canvas().flip(true, false); });
}

void SpriteEditorPrivate::imgFlipV()
{
    const int height = canvas().size.height();
    edit(
        "flip", [height](QPoint offset) { return QPoint(offset.x(), height - offset.y() - 1); },
        [this] { canvas().flip(false, true); });
}

void SpriteEditorPrivate::crop()
{
    if (!sprite() || canvas().size.isEmpty())
        return;
    const QRect whole(QPoint(), canvas().size);
    QRect content;
    for (const ImageLayer *each : qAsConst(canvas().layers.list))
        content |= each->contentRect();
    content &= whole;
    if (content.isEmpty() || content == whole)
        return;
    canvas().undoStack.beginMacro(QStringLiteral("crop"));
    const QPoint moved = canvas().crop();
    canvas().undoStack.push(
        new OffsetCommand(this, [moved](QPoint offset) { return offset + moved; }));
    canvas().undoStack.endMacro();
}

/// Three grey pictures behind the sprite, in one palette of greys.
void SpriteEditorPrivate::splitRGB()
{
    if (!sprite() || canvas().size.isEmpty())
        return;
    const QImage colored = canvas().flatten().convertToFormat(QImage::Format_ARGB32);
    const QPoint offset = movedOffset();
    const QString names[] = {SpriteEditor::tr("%1 red"), SpriteEditor::tr("%1 green"),
                             SpriteEditor::tr("%1 blue")};
    QVector<QRgb> greys(256);
    for (int i = 0; i < 256; ++i)
        greys[i] = qRgb(i, i, i);
    const Still still(this);
    const QPointer<Sprites> list = sprites;
    const QString base = identifier;
    const unsigned int at = unsigned(row.row()) + 1;
    list->beginChange();
    for (int channel = 0; channel < 3 && still.isSo(); ++channel) {
        QImage grey(colored.size(), QImage::Format_Indexed8);
        grey.setColorTable(greys);
        for (int y = 0; y < grey.height(); ++y) {
            const auto *from = reinterpret_cast<const QRgb *>(colored.constScanLine(y));
            uchar *to = grey.scanLine(y);
            std::transform(from, from + grey.width(), to, [channel](QRgb color) {
                return qAlpha(color) > 0 ? uchar(color >> (16 - 8 * channel)) : uchar(0);
            });
        }
        Sprite *made = list->insert(at + unsigned(channel), names[channel].arg(base), QImage());
        if (!made)
            break;
        made->setImage(grey, false, Sprite::ImagePalette, nullptr);
        editor->setSpriteOffset(made, offset);
    }
    if (list)
        list->endChange();
}

} // namespace Kiln
