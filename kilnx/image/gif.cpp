#include <kilnx/image/gif.h>

#include <kilnx/image/bytestream_p.h>

#include <QtCore/QDataStream>

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace Kiln
{

namespace
{

constexpr char LoopBlock[] = "NETSCAPE2.0";
constexpr int LoopBlockSize = sizeof LoopBlock - 1;
/// Twelve bits of LZW stand for 4,095 pixels at most.
constexpr int MaxGrowth = 2730;

int readCallback(GifFileType *gif, GifByteType *bytes, int count)
{
    auto *stream = static_cast<QDataStream *>(gif->UserData);
    return stream->readRawData(reinterpret_cast<char *>(bytes), count);
}

int writeCallback(GifFileType *gif, const GifByteType *bytes, int count)
{
    auto *stream = static_cast<QDataStream *>(gif->UserData);
    return stream->writeRawData(reinterpret_cast<const char *>(bytes), count);
}

struct Closer {
    void operator()(GifFileType *gif) const { DGifCloseFile(gif, nullptr); }
};

/// Walks over the blocks of a file without decoding and adds the pixels of its pictures up.
class SizeScan
{
public:
    explicit SizeScan(QIODevice *device)
        : m_in(device)
    {
    }

    qint64 pixels()
    {
        skip(10);
        skipColorMap(m_in.next());
        skip(2);
        skip(m_mapSize);
        qint64 sum = 0;
        while (m_in.ok()) {
            const int mark = m_in.next();
            if (mark == ExtensionMark) {
                skip(1);
                // Like giflib, which takes an extension to have one block at least.
                skip(m_in.next());
            } else if (mark == PictureMark) {
                skip(4);
                const qint64 width = word();
                sum += width * word();
                skipColorMap(m_in.next());
                skip(m_mapSize + 1);
            } else {
                break;
            }
            while (const int length = m_in.next())
                skip(length);
        }
        return sum;
    }

private:
    static constexpr int ExtensionMark = 0x21;
    static constexpr int PictureMark = 0x2C;

    void skip(int count)
    {
        while (count-- > 0)
            m_in.next();
    }
    int word()
    {
        const int low = m_in.next();
        return low | m_in.next() << 8;
    }
    void skipColorMap(int flags) { m_mapSize = flags & 0x80 ? 3 << ((flags & 7) + 1) : 0; }

    ByteReader m_in;
    int m_mapSize = 0;
};

/// Whether the pictures of the file fit into memory; leaves the device where it was.
bool picturesFit(QIODevice *device)
{
    const qint64 start = device->pos();
    const qint64 pixels = SizeScan(device).pixels();
    device->seek(start);
    return pictureFits(pixels, device, MaxGrowth);
}

QVector<RGB> colorsOf(const ColorMapObject *map)
{
    QVector<RGB> colors;
    if (map) {
        colors.reserve(map->ColorCount);
        for (int i = 0; i < map->ColorCount; ++i)
            colors.append({map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue});
    }
    return colors;
}

/// Whether a picture has one bit a pixel. The resolution alone does not tell: many programs write
/// 0 whatever the colours.
bool isMono(const GifFileType &gif, const SavedImage &saved)
{
    const ColorMapObject *map = saved.ImageDesc.ColorMap ? saved.ImageDesc.ColorMap : gif.SColorMap;
    return gif.SColorResolution < 2 && (!map || map->ColorCount <= 2);
}

QImage pictureOf(const SavedImage &saved, bool isMono, bool isWhole)
{
    const int width = saved.ImageDesc.Width;
    const int height = saved.ImageDesc.Height;
    QImage image(width, height, isMono ? QImage::Format_Mono : QImage::Format_Indexed8);
    if (image.isNull())
        return image;
    std::memset(image.bits(), 0, static_cast<size_t>(image.sizeInBytes()));
    if (!isWhole || !saved.RasterBits)
        return image;
    for (int y = 0; y < height; ++y) {
        const GifByteType *pixels = saved.RasterBits + qptrdiff(y) * width;
        uchar *row = image.scanLine(y);
        if (!isMono) {
            std::copy_n(pixels, width, row);
            continue;
        }
        for (int x = 0; x < width; ++x)
            row[x / 8] |= (pixels[x] & 1) << (7 - x % 8);
    }
    return image;
}

/// Reads what stands before a picture: its transparent index, and whether the file loops.
void readExtensions(const SavedImage &saved, GIFImage::SubImage &picture, bool &loop)
{
    for (int i = 0; i < saved.ExtensionBlockCount; ++i) {
        const ExtensionBlock &block = saved.ExtensionBlocks[i];
        GraphicsControlBlock control;
        if (block.Function == GRAPHICS_EXT_FUNC_CODE) {
            if (DGifExtensionToGCB(static_cast<size_t>(block.ByteCount), block.Bytes, &control) ==
                GIF_OK)
                picture.transparent = static_cast<short>(control.TransparentColor);
        } else if (block.Function == APPLICATION_EXT_FUNC_CODE) {
            loop = loop || (block.ByteCount >= LoopBlockSize &&
                            std::memcmp(block.Bytes, LoopBlock, LoopBlockSize) == 0);
        }
    }
}

/// One more than the highest index of a picture.
int usedColors(const QImage &image)
{
    if (image.format() == QImage::Format_Mono)
        return 2;
    uchar most = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        most = std::max(most, *std::max_element(row, row + image.width()));
    }
    return most + 1;
}

/// A colour map in giflib's form. The file has room for 2, 4, ... 256 colours only, and pixels
/// are cut to as many bits, so the map is filled up with black to cover `used` colours; null for
/// an empty one.
class FileColorMap
{
public:
    FileColorMap(const QVector<RGB> &colors, int used)
    {
        if (colors.isEmpty() || colors.size() > 256)
            return;
        m_map.BitsPerPixel = GifBitSize(std::max(colors.size(), used));
        m_map.ColorCount = 1 << m_map.BitsPerPixel;
        m_map.Colors = m_colors;
        for (int i = 0; i < colors.size(); ++i)
            m_colors[i] = {colors[i].r, colors[i].g, colors[i].b};
    }
    Q_DISABLE_COPY(FileColorMap)

    const ColorMapObject *get() const { return m_map.Colors ? &m_map : nullptr; }

private:
    ColorMapObject m_map = {};
    GifColorType m_colors[256] = {};
};

bool writeLoop(GifFileType *gif)
{
    const uchar repeats[] = {1, 0, 0};
    return EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) == GIF_OK &&
           EGifPutExtensionBlock(gif, LoopBlockSize, LoopBlock) == GIF_OK &&
           EGifPutExtensionBlock(gif, sizeof repeats, repeats) == GIF_OK &&
           EGifPutExtensionTrailer(gif) == GIF_OK;
}

bool writeControl(GifFileType *gif, const GIFImage::SubImage &picture)
{
    GraphicsControlBlock control;
    control.DisposalMode = DISPOSE_BACKGROUND;
    control.UserInputFlag = false;
    control.DelayTime = picture.delay;
    control.TransparentColor = picture.transparent;
    GifByteType bytes[4];
    EGifGCBToExtension(&control, bytes);
    return EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, sizeof bytes, bytes) == GIF_OK;
}

bool writePixels(GifFileType *gif, const QImage &image)
{
    const int width = image.width();
    std::vector<GifPixelType> line(static_cast<size_t>(width));
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        if (image.format() == QImage::Format_Mono) {
            for (int x = 0; x < width; ++x) {
                if (EGifPutPixel(gif, row[x / 8] >> (7 - x % 8) & 1) != GIF_OK)
                    return false;
            }
            continue;
        }
        // giflib cuts the pixels of the line it is given.
        std::copy_n(row, width, line.begin());
        if (EGifPutLine(gif, line.data(), width) != GIF_OK)
            return false;
    }
    return true;
}

bool writePicture(GifFileType *gif, const GIFImage::SubImage &picture, bool hasControl)
{
    const QImage &image = picture.image;
    const FileColorMap map(picture.colorMap, usedColors(image));
    const bool ok =
        (!hasControl || writeControl(gif, picture)) &&
        EGifPutImageDesc(gif, static_cast<quint16>(picture.left), static_cast<quint16>(picture.top),
                         image.width(), image.height(), false, map.get()) == GIF_OK &&
        writePixels(gif, image);
    // giflib drops its copy of the map when a picture without one comes next.
    GifFreeMapObject(gif->Image.ColorMap);
    gif->Image.ColorMap = nullptr;
    return ok;
}

/// The bits of the largest map, which covers the indexes past it too.
int colorResolution(const QList<GIFImage::SubImage> &pictures, const QVector<RGB> &globalColors)
{
    int most = 0;
    for (const GIFImage::SubImage &picture : pictures) {
        const bool isMono = picture.image.format() == QImage::Format_Mono;
        const QVector<RGB> &map = picture.colorMap.isEmpty() ? globalColors : picture.colorMap;
        most = std::max({most, isMono ? 2 : map.size(), usedColors(picture.image)});
    }
    return GifBitSize(most);
}

bool canBeWritten(const GIFImage::SubImage &picture)
{
    const QImage &image = picture.image;
    return !image.isNull() && image.width() <= 0xFFFF && image.height() <= 0xFFFF &&
           (image.format() == QImage::Format_Indexed8 || image.format() == QImage::Format_Mono);
}

} // namespace

GIFImage::GIFImage() = default;

GIFImage::GIFImage(unsigned short width, unsigned short height, bool loop)
    : m_loop(loop)
    , m_width(width)
    , m_height(height)
{
}

bool GIFImage::load(QIODevice *source)
{
    if (!openForReading(source))
        return false;
    m_globalColorMap.clear();
    m_images.clear();
    m_loop = false;
    SeekableDevice seekable(source);
    QIODevice *device = seekable.get();
    if (!picturesFit(device))
        return false;

    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    const std::unique_ptr<GifFileType, Closer> gif(DGifOpen(&stream, readCallback, nullptr));
    if (!gif)
        return false;
    const bool isWhole = DGifSlurp(gif.get()) == GIF_OK;
    const int count = gif->SavedImages ? gif->ImageCount : 0;
    m_width = static_cast<unsigned short>(gif->SWidth);
    m_height = static_cast<unsigned short>(gif->SHeight);
    if (count == 1) {
        m_width = static_cast<unsigned short>(gif->SavedImages->ImageDesc.Width);
        m_height = static_cast<unsigned short>(gif->SavedImages->ImageDesc.Height);
    }
    m_globalColorMap = colorsOf(gif->SColorMap);
    for (int i = 0; i < count; ++i) {
        const SavedImage &saved = gif->SavedImages[i];
        SubImage picture;
        picture.left = static_cast<short>(saved.ImageDesc.Left);
        picture.top = static_cast<short>(saved.ImageDesc.Top);
        picture.transparent = gif->SColorMap ? static_cast<short>(gif->SBackGroundColor) : -1;
        readExtensions(saved, picture, m_loop);
        picture.colorMap = colorsOf(saved.ImageDesc.ColorMap);
        // After a fault nobody can tell how much of the last picture's pixels was decoded.
        picture.image = pictureOf(saved, isMono(*gif, saved), isWhole || i + 1 < count);
        m_images.append(picture);
    }
    return isWhole;
}

bool GIFImage::save(QIODevice *device, const std::function<bool()> &step)
{
    if (m_images.isEmpty() || !std::all_of(m_images.cbegin(), m_images.cend(), canBeWritten) ||
        !openForWriting(device))
        return false;
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    GifFileType *gif = EGifOpen(&stream, writeCallback, nullptr);
    if (!gif)
        return false;
    EGifSetGifVersion(gif, true);
    const SubImage &first = m_images.constFirst();
    const bool isAnimation = m_images.size() > 1;
    const int background = isAnimation ? 0 : std::max<int>(first.transparent, 0);
    int used = 0;
    for (const SubImage &picture : qAsConst(m_images)) {
        if (picture.colorMap.isEmpty())
            used = std::max(used, usedColors(picture.image));
    }
    const FileColorMap map(m_globalColorMap, used);
    bool ok = EGifPutScreenDesc(gif, m_width, m_height, colorResolution(m_images, m_globalColorMap),
                                background, map.get()) == GIF_OK;
    if (ok && m_loop)
        ok = writeLoop(gif);
    for (const SubImage &picture : qAsConst(m_images)) {
        if (!ok)
            break;
        ok = writePicture(gif, picture, isAnimation && picture.transparent >= 0) &&
             (!step || step());
    }
    ok = EGifCloseFile(gif, nullptr) == GIF_OK && ok;
    return ok && stream.status() == QDataStream::Ok;
}

} // namespace Kiln
