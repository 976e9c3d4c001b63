#pragma once

#include <kilnx/export.h>
#include <kilnx/render/renderer.h>

#include <QtWidgets/QWidget>

#include <memory>

namespace Kiln
{

class RenderInput;

/// Shows a renderer by native painting, with a painter alone.
class KILNX_EXPORT RenderWidget : public QWidget, public RenderWidgetBase
{
    Q_OBJECT

public:
    explicit RenderWidget(QWidget *parent = nullptr);
    ~RenderWidget() override;

    Renderer *renderer() const override;
    void setRenderer(Renderer *renderer) override;
    void update() override;
    void updateArea(const QRect &area) override;
    using QWidget::update;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    Renderer *m_renderer = nullptr;
    std::unique_ptr<RenderInput> m_input;
};

} // namespace Kiln
