#pragma once

#include <kilnx/image/palette.h>

#include <QtGui/QImage>

#include <vector>

namespace Kiln
{

/// Scales a picture between neighbouring pixels, row by row. Each channel is the mean of two by
/// their distances, calculated in double precision and cut to an integer, first along the row and
/// then between two rows. Each source row is stretched once and kept for as long as target rows
/// lie beside it.
class KILNX_EXPORT BilinearScaler
{
public:
    /// `palette` has the 256 colours of an indexed picture. Both must outlive this object.
    /// `useVectors` says whether vectors of the processor may be used, where it has them; the
    /// results are the same.
    BilinearScaler(const QImage &image, QSize size, const RGBA *palette, bool useVectors = true);

    /// Writes row `y` of the result as 0xAARRGGBB.
    void scale(int y, QRgb *target);

private:
    /// Where a target position lies between two source positions.
    struct Blend {
        int first;
        int second;
        double fraction; // the share of `second`
        int share;       // the same in 256ths, or Inexact
    };
    struct Stretched {
        int row = -1;
        std::vector<QRgb> pixels;
    };
    class ColumnPairs;
    class RowPairs;

    static constexpr int Inexact = -1;

    static std::vector<Blend> blends(int sourceSize, int targetSize);
    const QRgb *stretched(int row, int keep);
    const QRgb *sourceRow(int y);

    const QImage &m_image;
    bool m_useVectors;
    std::vector<Blend> m_columns;
    std::vector<Blend> m_rows;
    bool m_exactColumns; // the share of every column is exact
    QRgb m_colors[256] = {};
    std::vector<QRgb> m_source; // a row of an indexed picture in true colour
    Stretched m_kept[2];
};

} // namespace Kiln
