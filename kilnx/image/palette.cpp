#include <kilnx/image/palette.h>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

unsigned char clampToByte(int value)
{
    return static_cast<unsigned char>(qBound(0, value, 255));
}

bool selected(const bool *mask, int i)
{
    return !mask || mask[i];
}

int squaredDistance(RGBA x, RGBA y)
{
    const int r = x.r - y.r;
    const int g = x.g - y.g;
    const int b = x.b - y.b;
    return r * r + g * g + b * b;
}

RGBA shifted(RGBA c, int r, int g, int b)
{
    return {clampToByte(c.r + r), clampToByte(c.g + g), clampToByte(c.b + b), c.a};
}

RGBA withEffect(RGBA c, RGBPaletteEffect effect)
{
    const int avg = (c.r + c.g + c.b) / 3;
    const auto grey = [&c](int v) {
        return RGBA{clampToByte(v), clampToByte(v), clampToByte(v), c.a};
    };
    switch (effect) {
    case SwapRedBlue:
    case SwapBlueRed:
        return {c.b, c.g, c.r, c.a};
    case SwapGreenBlue:
    case SwapBlueGreen:
        return {c.r, c.b, c.g, c.a};
    case SwapRedGreen:
    case SwapGreenRed:
        return {c.g, c.r, c.b, c.a};
    case Lighter:
        return shifted(c, 32, 32, 32);
    case Darker:
        return shifted(c, -32, -32, -32);
    case Gray:
        return grey(avg);
    case WarmTint:
        return {clampToByte(avg + 100), clampToByte(avg / 2), 0, c.a};
    case VioletTint:
        return {clampToByte(avg / 4 + 60), 0, clampToByte(avg / 2 + 60), c.a};
    case Washed:
        return grey(avg <= 127 ? avg + 50 : avg - 50);
    case MuchLighter:
        return shifted(c, 128, 128, 128);
    case MuchDarker:
        return shifted(c, -128, -128, -128);
    }
    return c;
}

/// Step `k` of `count` between two colours. The divisor makes the last step equal to `end` and
/// keeps a gradient of one step from dividing by zero.
RGBA gradientStep(RGBA start, RGBA end, int k, int count)
{
    const int divisor = k == 0 ? count : count - 1;
    const auto step = [k, divisor](int from, int to) {
        return static_cast<unsigned char>(from + (k * (to - from)) / divisor);
    };
    return {step(start.r, end.r), step(start.g, end.g), step(start.b, end.b), step(start.a, end.a)};
}

} // namespace

PaletteObject::PaletteObject(RGBA (*table)[256])
    : m_table(table)
{
}

PaletteObject::~PaletteObject() = default;

PaletteObject &PaletteObject::operator=(RGBA (*table)[256])
{
    m_table = table;
    return *this;
}

QColor PaletteObject::colorAt(unsigned char i) const
{
    const RGBA c = at(i);
    return QColor(c.r, c.g, c.b, c.a);
}

unsigned char PaletteObject::index(RGBA c) const
{
    int bestDistance = 0x7FFFFFFF;
    int bestAlpha = 255;
    int best = 0;
    for (int i = 0; i < 256; ++i) {
        const RGBA entry = (*m_table)[i];
        const int distance = squaredDistance(entry, c);
        const int alpha = entry.a - c.a;
        if (distance < bestDistance || (distance == bestDistance && alpha < bestAlpha)) {
            bestDistance = distance;
            bestAlpha = static_cast<unsigned char>(alpha);
            best = i;
        }
    }
    return static_cast<unsigned char>(best);
}

void PaletteObject::toPalette(RGBA (&out)[256]) const
{
    std::copy(std::begin(*m_table), std::end(*m_table), out);
}

void PaletteObject::fromPalette(const RGBA *src)
{
    Q_EMIT changing();
    std::memmove(*m_table, src, sizeof *m_table);
    Q_EMIT changed();
}

void PaletteObject::empty()
{
    std::fill(std::begin(*m_table), std::end(*m_table), RGBA());
}

void PaletteObject::setColor(unsigned char i, RGBA c)
{
    Q_EMIT changing();
    (*m_table)[i] = c;
    Q_EMIT changed();
}

void PaletteObject::setColor(const bool *mask, RGBA c)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            (*m_table)[i] = c;
    }
    Q_EMIT changed();
}

void PaletteObject::addColors(const RGBA *src)
{
    Q_EMIT changing();
    RGBA colors[256];
    std::copy(src, src + 256, colors);
    // 256 colours move the cursor 256 times at most, so it never runs below the table.
    int cursor = 255;
    for (const RGBA &color : colors) {
        const auto end = std::end(*m_table);
        if (std::find(std::begin(*m_table), end, color) == end)
            (*m_table)[cursor--] = color;
    }
    Q_EMIT changed();
}

void PaletteObject::addRGB(const bool *mask, short r, short g, short b)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            (*m_table)[i] = shifted((*m_table)[i], r, g, b);
    }
    Q_EMIT changed();
}

void PaletteObject::addHueSaturation(const bool *mask, short hue, short saturation)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (!selected(mask, i))
            continue;
        RGBA &entry = (*m_table)[i];
        const QColor hsl = QColor(entry.r, entry.g, entry.b).toHsl();
        const int h = qBound(0, hsl.hslHue() + hue, 359);
        const int s = qBound(0, hsl.hslSaturation() + saturation, 255);
        entry = fromQRgb(QColor::fromHsl(h, s, hsl.lightness(), 255).rgba());
    }
    Q_EMIT changed();
}

void PaletteObject::applyEffect(RGBPaletteEffect effect, const bool *mask)
{
    Q_EMIT changing();
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            (*m_table)[i] = withEffect((*m_table)[i], effect);
    }
    Q_EMIT changed();
}

void PaletteObject::clearDuplicated(RGB replacement)
{
    Q_EMIT changing();
    for (int j = 2; j < 256; ++j) {
        for (int k = j - 1; k >= 1; --k) {
            if ((*m_table)[k] == (*m_table)[j]) {
                (*m_table)[k] = {replacement.r, replacement.g, replacement.b, 255};
                break;
            }
        }
    }
    Q_EMIT changed();
}

void PaletteObject::gradient(unsigned char from, RGBA start, unsigned char to, const RGBA &end)
{
    const RGBA last = end; // `end` may be an entry of the table
    Q_EMIT changing();
    const int count = to - from;
    for (int k = 0; k < count; ++k)
        (*m_table)[k] = gradientStep(start, last, k, count);
    Q_EMIT changed();
}

void PaletteObject::gradient(const bool *mask, RGBA start, RGBA end)
{
    Q_EMIT changing();
    const int count = mask ? static_cast<int>(std::count(mask, mask + 256, true)) : 256;
    int k = 0;
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            (*m_table)[i] = gradientStep(start, end, k++, count);
    }
    Q_EMIT changed();
}

void PaletteObject::sortByTones()
{
    Q_EMIT changing();
    for (int i = 0; i < 254; ++i) {
        const RGBA current = (*m_table)[i];
        RGBA *nearest = std::min_element(
            *m_table + i + 1, *m_table + 256, [current](const RGBA &x, const RGBA &y) {
                return squaredDistance(x, current) < squaredDistance(y, current);
            });
        std::swap((*m_table)[i + 1], *nearest);
    }
    Q_EMIT changed();
}

void PaletteObject::switchColors(const bool *mask, bool keepAlphaEnds)
{
    Q_EMIT changing();
    int low = 0;
    int high = 255;
    while (low < high) {
        if (!selected(mask, low))
            ++low;
        else if (!selected(mask, high))
            --high;
        else
            std::swap((*m_table)[low++], (*m_table)[high--]);
    }
    if (keepAlphaEnds)
        std::swap((*m_table)[0].a, (*m_table)[255].a);
    Q_EMIT changed();
}

} // namespace Kiln
