#pragma once

#include <kilnx/export.h>
#include <kilnx/image/palette.h>

namespace Kiln
{

/// Where the image tools take their colours from: a palette with a foreground and a background
/// index. Derive from it to let the tools paint with another source of colours.
class KILNX_EXPORT ImagePalette : public QObject
{
    Q_OBJECT

public:
    explicit ImagePalette(QObject *parent = nullptr);
    ~ImagePalette() override;

    virtual unsigned char backgroundIndex() const = 0;
    virtual unsigned char foregroundIndex() const = 0;
    /// The colour of an index, alpha in the top byte.
    virtual QRgb rgbAt(unsigned char i) = 0;
    /// The index whose colour is nearest.
    virtual unsigned char indexOf(QColor color) = 0;
    virtual void setForegroundIndex(unsigned char index) = 0;
    virtual void setBackgroundIndex(unsigned char index) = 0;
    /// 256 entries, which stay valid as long as this object.
    virtual const RGBA *colors() = 0;
    virtual void copyTo(RGBA (&out)[256]) = 0;

Q_SIGNALS:
    /// Colours changed; what shows them repaints.
    void paletteChanged();
};

/// Black at index 0 and white everywhere else: the colours of a selection mask. Its background
/// is 0 and its foreground 1 and neither can be changed; copyTo() leaves the target alone.
class KILNX_EXPORT MonoPalette : public ImagePalette
{
    Q_OBJECT

public:
    explicit MonoPalette(QObject *parent = nullptr);
    ~MonoPalette() override;

    unsigned char backgroundIndex() const override;
    unsigned char foregroundIndex() const override;
    QRgb rgbAt(unsigned char i) override;
    unsigned char indexOf(QColor color) override;
    void setForegroundIndex(unsigned char index) override;
    void setBackgroundIndex(unsigned char index) override;
    const RGBA *colors() override;
    void copyTo(RGBA (&out)[256]) override;
};

} // namespace Kiln
