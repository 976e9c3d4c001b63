#include "fuzz.h"

#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/palette.h>

namespace
{

/// A palette of the picture's own bytes.
void fillPalette(Kiln::RGBA (&palette)[256], const uint8_t *data, size_t size)
{
    for (size_t i = 0; i < 256 && size > 0; ++i)
        palette[i] = {data[i % size], data[i * 3 % size], data[i * 7 % size], data[i * 5 % size]};
}

void paletteWork(Kiln::RGBA (&palette)[256], const uint8_t *data, size_t size)
{
    bool mask[256];
    for (size_t i = 0; i < 256; ++i)
        mask[i] = size > 0 && (data[i % size] & 1) != 0;
    Kiln::PaletteObject object(&palette);
    const int step = static_cast<int>(size % 200);
    object.applyEffect(Kiln::RGBPaletteEffect(step % 16), mask);
    object.addHueSaturation(mask, static_cast<short>(step * 3), static_cast<short>(-step));
    object.gradient(mask, palette[0], palette[255]);
    object.switchColors(mask, true);
    object.sortByTones();
    object.addColors(palette);
    object.clearDuplicated({1, 2, 3});
}

} // namespace

/// The picture operations, on pictures of every size and format. One in sixteen goes through the
/// slow filters.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint8_t choice = size > 0 ? data[size - 1] : 0;
    const PreparedPicture picture(data, size, true);
    const QImage &image = picture.image;
    Kiln::RGBA palette[256] = {};
    fillPalette(palette, data, size);

    const QSize target(1 + choice % 151, 1 + choice * 7 % 97);
    const int filters = choice % 16 == 0 ? Kiln::HqBilinear : Kiln::EpxBilinear;
    for (int filter = 0; filter <= filters; ++filter) {
        const QImage scaled =
            Kiln::resizeImage(image, target, palette, Kiln::ImageResizeFilter(filter));
        require(scaled.isNull() || scaled.size() == target);
        use(scaled);
    }
    use(Kiln::rotateImage(image, static_cast<float>(choice) / 7, 0x80123456));
    QImage cropped = image;
    QPoint corner;
    if (Kiln::cropImage(cropped, &corner, choice % 4))
        require(image.rect().contains(QRect(corner, cropped.size())));
    use(cropped);
    QImage adapted = image;
    Kiln::adaptImageToPalette(adapted, palette);
    use(adapted);
    Kiln::ColorQuantizer quantizer(choice, 8);
    quantizer.processImage(image);
    Kiln::RGBA table[256];
    quantizer.getColorTable(table);
    require(quantizer.colorCount() <= std::max<int>(choice, 1));
    paletteWork(palette, data, size);
    use(QByteArray::fromRawData(reinterpret_cast<const char *>(palette), sizeof palette));
    use(QByteArray::fromRawData(reinterpret_cast<const char *>(table), sizeof table));
    return 0;
}
