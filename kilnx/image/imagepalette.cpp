#include <kilnx/image/imagepalette.h>

namespace Kiln
{

ImagePalette::ImagePalette(QObject *parent)
    : QObject(parent)
{
}

ImagePalette::~ImagePalette() = default;

MonoPalette::MonoPalette(QObject *parent)
    : ImagePalette(parent)
{
}

MonoPalette::~MonoPalette() = default;

unsigned char MonoPalette::backgroundIndex() const
{
    return 0;
}

unsigned char MonoPalette::foregroundIndex() const
{
    return 1;
}

QRgb MonoPalette::rgbAt(unsigned char i)
{
    return i == 0 ? 0xFF000000 : 0xFFFFFFFF;
}

unsigned char MonoPalette::indexOf(QColor color)
{
    return color == Qt::black ? 0 : 1;
}

void MonoPalette::setForegroundIndex(unsigned char)
{
}

void MonoPalette::setBackgroundIndex(unsigned char)
{
}

const RGBA *MonoPalette::colors()
{
    static const RGBA table[256] = {{0, 0, 0, 255}, {255, 255, 255, 255}};
    return table;
}

void MonoPalette::copyTo(RGBA (&)[256])
{
}

} // namespace Kiln
