#pragma once

#include <hostkit/export.h>

#include <kilnx/editors/spriteeditor.h>

namespace HostKit
{

/// The sprite editor of the kit. A sprite's own point is its property "Origin", where it has one.
class HOSTKIT_EXPORT SpriteView : public Kiln::SpriteEditor
{
    Q_OBJECT

public:
    using Kiln::SpriteEditor::SpriteEditor;

    QPoint spriteOffset(Kiln::Sprite *sprite) const override;
    void setSpriteOffset(Kiln::Sprite *sprite, QPoint offset) override;
    void hostReserved15() override {}
};

} // namespace HostKit
