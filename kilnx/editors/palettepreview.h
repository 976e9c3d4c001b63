#pragma once

#include <kilnx/export.h>
#include <kilnx/forms/paldlg.h>

namespace Kiln
{

class Palettes;

/// What PalDlg shows of a picture that is to come into a sprite file: a copy that is scaled down to
/// 256 pixels a side at most, in the colours that each choice would give it. It may be called when
/// the palettes are gone, and shows the picture's own colours then.
KILNX_EXPORT PalDlg::Preview palettePreview(const QImage &picture, Palettes *palettes);

} // namespace Kiln
