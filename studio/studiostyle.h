#pragma once

#include <QProxyStyle>

namespace Studio
{

/// The platform's style, with marks that are seen on light and dark grounds: check boxes have an
/// outline, the current tab a line, and the button that closes a tab its own picture. The view that
/// has the focus has a frame, and the selection of the others is grey. Return presses the button
/// that has the focus in windows, too, and the buttons of dialogs carry no pictures.
class StudioStyle : public QProxyStyle
{
    Q_OBJECT

public:
    using QProxyStyle::polish;
    void polish(QWidget *widget) override;
    int styleHint(StyleHint hint,
                  const QStyleOption *option = nullptr,
                  const QWidget *widget = nullptr,
                  QStyleHintReturn *returnData = nullptr) const override;
    void drawPrimitive(PrimitiveElement element,
                       const QStyleOption *option,
                       QPainter *painter,
                       const QWidget *widget = nullptr) const override;
    void drawControl(ControlElement element,
                     const QStyleOption *option,
                     QPainter *painter,
                     const QWidget *widget = nullptr) const override;
};

} // namespace Studio
