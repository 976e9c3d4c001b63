#pragma once

#include <kilnx/export.h>
#include <kilnx/image/palette.h>

#include <QtCore/QRect>
#include <QtGui/QImage>

namespace Kiln
{

// All functions take pictures in Indexed8, RGB32 or ARGB32.

/// How resizeImage() scales. The EPX and HQ filters double, triple or quadruple first and then
/// fit the result to the wanted size by the plain filter that they are paired with.
enum ImageResizeFilter : int {
    NearestNeighbor = 0,
    Bilinear = 1,
    EpxNearestNeighbor = 2, ///< Scale2x, Scale3x (A. Mazzoleni)
    EpxBilinear = 3,
    HqNearestNeighbor = 4, ///< hq2x, hq3x, hq4x (M. Stepin)
    HqBilinear = 5
};

/// Turns `image` into an Indexed8 picture with the 256 colours of `palette`: every pixel becomes
/// the entry with the smallest a * d / 255 + (a - entry alpha)^2, where d is the squared distance
/// of red, green and blue and a the pixel's alpha; the first of equals. A picture without any
/// alpha is matched as if the palette were opaque, and gets it opaque as its table.
KILNX_EXPORT void adaptImageToPalette(QImage &image, const RGBA *palette);

/// Scales to `size`, in the format of `image`; defined in imageops_resize.cpp. Indexed pictures
/// take their colours from `palette`, and the result has no colour table: the caller sets it.
/// NearestNeighbor on RGB32 packs three bytes a pixel at the start of each row, for callers that
/// expect 24-bit rows. A size without area or above 1,048,576 a side, an unknown filter and a
/// result too large for memory give a null image.
KILNX_EXPORT QImage resizeImage(QImage image,
                                QSize size,
                                RGBA (&palette)[256],
                                ImageResizeFilter filter);

/// Turns by `radians` (clockwise on the screen) into a picture that takes in all corners,
/// without filtering. Pixels from outside become `fill`: 0xAARRGGBB, or an index in its low
/// byte. The result has no colour table. Null for an angle that is no number.
KILNX_EXPORT QImage rotateImage(QImage image, float radians, unsigned int fill);

/// Cuts the picture down to cropImageRect(). False, and nothing changed, if there is no content
/// or if it reaches all four edges; else `*topLeft`, if given, is where the cut began.
KILNX_EXPORT bool cropImage(QImage &image, QPoint *topLeft, int margin);

/// The smallest rectangle around the content, grown by `margin` pixels within the picture.
/// Content is every pixel with alpha (ARGB32) or that differs from the top left pixel (Indexed8,
/// RGB32, premultiplied ARGB32). Invalid without content, null for a null picture or another
/// format.
KILNX_EXPORT QRect cropImageRect(const QImage &image, int margin);

} // namespace Kiln
