#pragma once

#include <kilnx/export.h>

#include <QtCore/QIdentityProxyModel>
#include <QtGui/QImage>

#include <memory>

namespace Kiln
{

class Sprites;
class ThumbnailsModelPrivate;

/// The sprites of a file as small pictures, for views of many thousands of them.
///
/// Its rows are those of the file. A picture is made when it is asked for, on a thread of its own,
/// and what was asked for last comes first; dataChanged() tells that it is there. Pictures are kept
/// up to keptBytes, those that were asked for last. When a sprite or a palette has changed, the old
/// picture stands until the new one is made. Rows can be dragged, as SpriteMime tells, and take no
/// drop.
class KILNX_EXPORT ThumbnailsModel : public QIdentityProxyModel
{
    Q_OBJECT

public:
    /// What the pictures that are kept take at most, in bytes.
    static constexpr int keptBytes = 64 << 20;
    /// The longest side of a picture, in dots.
    static constexpr int largestSide = 512;

    explicit ThumbnailsModel(QObject *parent = nullptr);
    /// Waits for the pictures that are being made.
    ~ThumbnailsModel() override;

    /// Shows the sprites of another file, or none for null. They stay their file's, which may be
    /// destroyed meanwhile.
    void setSprites(Sprites *sprites);
    Sprites *sprites() const;
    /// The longest side of a picture in dots, 1 to largestSide; 64 at first. Larger pictures are
    /// scaled down to it, smaller ones stay as they are.
    int side() const;
    void setSide(int dots);
    /// The picture of a row in the format ARGB32_Premultiplied; null while there is none to show,
    /// and for a sprite without one. Has it made if there is none yet, or an old one.
    QImage picture(const QModelIndex &index) const;
    /// How many bytes the pictures take that are kept now.
    int storedBytes() const;

    /// picture() as Qt::DecorationRole, and what the file answers.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

private:
    std::unique_ptr<ThumbnailsModelPrivate> d;
};

} // namespace Kiln
