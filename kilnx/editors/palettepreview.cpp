#include <kilnx/editors/palettepreview.h>

#include <kilnx/image/imageops.h>
#include <kilnx/image/sprite.h>

#include <QtCore/QPointer>

#include <algorithm>

namespace Kiln
{

namespace
{

constexpr int largestSide = 256;

QImage scaledDown(const QImage &picture)
{
    const QImage small =
        qMax(picture.width(), picture.height()) <= largestSide
            ? picture
            : picture.scaled(largestSide, largestSide, Qt::KeepAspectRatio, Qt::FastTransformation);
    return small.format() == QImage::Format_Indexed8 ? small
                                                     : small.convertToFormat(QImage::Format_ARGB32);
}

/// The same indices in other colours. A picture that counts from the end finds them there.
QImage exchanged(QImage picture, const RGBA *colors, bool reversed)
{
    QVector<QRgb> table(256);
    std::transform(colors, colors + 256, table.begin(), toQRgb);
    if (reversed)
        std::reverse(table.begin(), table.end());
    picture.setColorTable(table);
    return picture;
}

} // namespace

PalDlg::Preview palettePreview(const QImage &picture, Palettes *palettes)
{
    const QImage own = scaledDown(picture);
    const QPointer<Palettes> list(palettes);
    return [own, list](int mode, int row, bool reversed) {
        const Palette *palette =
            list && row >= 0 ? list->at(static_cast<unsigned int>(row)) : nullptr;
        if (own.isNull() || mode == Sprite::ImagePalette || !palette)
            return own;
        if (mode == Sprite::ExchangePalette && own.format() == QImage::Format_Indexed8)
            return exchanged(own, palette->colors(), reversed);
        QImage adapted = own;
        adaptImageToPalette(adapted, palette->colors());
        return adapted;
    };
}

} // namespace Kiln
