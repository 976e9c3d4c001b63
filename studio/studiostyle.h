#pragma once

#include <QProxyStyle>

namespace Studio
{

/// The platform's style with two changes: the buttons of dialogs carry no pictures, and the
/// button that closes a tab has one that is seen on light and dark grounds.
class StudioStyle : public QProxyStyle
{
    Q_OBJECT

public:
    int styleHint(StyleHint hint,
                  const QStyleOption *option = nullptr,
                  const QWidget *widget = nullptr,
                  QStyleHintReturn *returnData = nullptr) const override;
    void drawPrimitive(PrimitiveElement element,
                       const QStyleOption *option,
                       QPainter *painter,
                       const QWidget *widget = nullptr) const override;
};

} // namespace Studio
