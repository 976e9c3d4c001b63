#pragma once

#include <kilnx/export.h>
#include <kilnx/image/imagepalette.h>

#include <QtCore/QPointer>

#include <memory>

namespace Kiln
{

class ColorWidget;
class ImageTool;
class PaletteWidget;

/// The colours of a PaletteWidget as the image tools see them. A click of the right button in the
/// widget chooses the background and any other the foreground, unless the current tool takes it.
///
/// The two small widgets that show both colours belong to this object, though a host may put them
/// into a layout of its own. Once the PaletteWidget is destroyed, every colour is clear.
class KILNX_EXPORT ColorPalette : public ImagePalette
{
    Q_OBJECT

public:
    explicit ColorPalette(PaletteWidget *widget, QObject *parent = nullptr);
    ~ColorPalette() override;

    /// Null when the host has destroyed it.
    ColorWidget *foregroundWidget() const;
    ColorWidget *backgroundWidget() const;
    /// The tool that is offered clicks first, borrowed; null for none.
    void setTool(ImageTool *tool);
    /// Colours to show pictures in while every entry of the widget is clear, so that a palette that
    /// is only begun does not hide them: 256 entries, which are copied, or null for none.
    void setSpare(const RGBA *colors);

    unsigned char backgroundIndex() const override;
    unsigned char foregroundIndex() const override;
    QRgb rgbAt(unsigned char i) override;
    unsigned char indexOf(QColor color) override;
    /// Also selects the cell, unless it is part of a selection.
    void setForegroundIndex(unsigned char index) override;
    void setBackgroundIndex(unsigned char index) override;
    const RGBA *colors() override;
    void copyTo(RGBA (&out)[256]) override;

public Q_SLOTS:
    void colorClicked(unsigned short index, Qt::MouseButton button);
    /// Shows both colours anew; for after the widget got other colours without a signal.
    void refresh();

private:
    struct Spare;

    QPointer<ColorWidget> m_foregroundWidget;
    QPointer<ColorWidget> m_backgroundWidget;
    QPointer<PaletteWidget> m_widget;
    QPointer<ImageTool> m_tool;
    std::unique_ptr<Spare> m_spare;
    bool m_usesSpare = false; ///< as refresh() found the widget
    unsigned char m_background = 0;
    unsigned char m_foreground = 0;
};

} // namespace Kiln
