#pragma once

class QEvent;

namespace Kiln
{

class Renderer;
class RenderWidgetBase;

namespace RenderInput
{

/// Hands a widget's key, mouse and wheel events to the renderer; leaves all others. The renderer,
/// and the widget with it, may be gone afterwards.
void forward(Renderer *renderer, QEvent *event);
/// Takes `renderer` from the widget that shows it, unless that is `widget`; and takes `old` from
/// `widget`. Both may be null.
void detach(Renderer *old, Renderer *renderer, const RenderWidgetBase *widget);

} // namespace RenderInput
} // namespace Kiln
