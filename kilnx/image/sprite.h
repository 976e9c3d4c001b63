#pragma once

#include <kilnx/cache/cachedprojectfile.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/palette.h>
#include <kilnx/project/organizable.h>

#include <QtCore/QPoint>
#include <QtGui/QImage>

#include <functional>

namespace Kiln
{

class Palettes;
class Sprites;
class Texture;

/// A palette of a sprite file: 256 colours and a name, the property "Identifier". An engine derives
/// its own class from it, in which every change is a step of undo.
class KILNX_EXPORT Palette : public PropertyItem
{
public:
    /// What setColors() is told of a change.
    enum SetFlag {
        SetEdited = 0,  ///< one of a run of edits of this palette, which undo takes back together
        SetReplaced = 2 ///< another palette was loaded or put over this one: a step of its own
    };

    /// "Identifier"; a derived class may name more.
    QStringList propertyNames() override;
    QVariant property(const QString &name) override = 0;
    void setProperty(const QString &name, const QVariant &value) override = 0;
    /// The position in palettes(), counted from 0; -1 while it is taken out of there.
    virtual int index() const = 0;
    /// The list that this palette belongs to.
    virtual Palettes *palettes() const = 0;
    /// How many sprites of the file are shown in these colours.
    virtual unsigned int useCount() const = 0;
    /// The colours on the graphics card, put there on the first call and after each change. Owned
    /// by the palette; invalid without OpenGL. For the GUI thread.
    virtual const Texture &texture() const = 0;
    /// Copies the 256 entries out.
    virtual void toPalette(RGBA (&out)[256]) const = 0;
    /// Takes 256 entries over. `flags` is a SetFlag. The sprites of this palette show the new
    /// colours; their pictures stay as they are.
    virtual void setColors(const RGBA *colors, int flags) = 0;

    /// The 256 entries. The pointer lasts as long as the palette.
    const RGBA *colors() const { return m_colors; }

protected:
    Palette() = default;
    Palette(const Palette &) = delete;
    Palette &operator=(const Palette &) = delete;
    ~Palette() override;

    RGBA m_colors[256] = {};
};

/// One image of a sprite file; its name or number is the property "Identifier". The bytes are in
/// the file's store, encoded, and decoded on request. An engine derives its own class from it,
/// which knows how its file keeps them, and in which every change is a step of undo.
class KILNX_EXPORT Sprite : public CachedPropertyItem
{
public:
    /// Where setImage() gets its palette. The numbers are those of the import dialogs.
    enum PaletteMode {
        ImagePalette = 1,   ///< the image's colours: an equal palette of the file, or a new one
        ForcePalette = 2,   ///< the palette that is given; the image's colours are mapped onto it
        ExchangePalette = 3 ///< the palette that is given; the indices stay
    };

    /// Shares the handle of the other sprite without counting it: one of the two must let go of it
    /// before it is destroyed.
    Sprite(const Sprite &other);
    Sprite &operator=(const Sprite &other);

    /// "Identifier"; a derived class may name more.
    QStringList propertyNames() override;
    QVariant property(const QString &name) override = 0;
    void setProperty(const QString &name, const QVariant &value) override = 0;
    /// The position in sprites(), counted from 0; -1 while it is taken out of there.
    virtual int index() const = 0;
    /// The list that this sprite belongs to.
    virtual Sprites *sprites() const = 0;
    /// Whether there is no picture yet.
    virtual bool isEmpty() const = 0;
    /// Called once for each new sprite at the end of an import that maps images onto a palette.
    virtual void finishImport() = 0;
    /// The picture on the graphics card, put there on the first call after a change: indices, to be
    /// drawn with palette()->texture(), or true colour. Owned by the sprite, which may take it off
    /// again when many others were asked for, so ask for each frame anew; invalid without OpenGL
    /// and without a picture. For the GUI thread.
    virtual const Texture &texture() const = 0;
    /// Takes the texture, and what is kept decoded, out of memory. Both come back on request.
    virtual void resetTexture() = 0;
    /// The picture: Indexed8 with the palette as its colour table, or true colour. Null without
    /// one, and if its bytes cannot be decoded.
    virtual QImage image() const = 0;
    /// Size and format without decoding the pixels; all 0 without a picture.
    virtual ImageInfo imageInfo() const = 0;
    /// Shows the picture in another palette of the file, or null for none. The indices stay.
    virtual void setPalette(Palette *palette) = 0;
    /// Replaces the picture. `paletteMode` is a PaletteMode, which `palette` serves. `keepPalette`
    /// is the answer to "Reversed" in the import dialogs: the image counts its colours from the
    /// end, as palettes of some files do, so index i and its colour become 255 - i. An image of
    /// true colour has no palette unless it is mapped onto one.
    virtual void
    setImage(const QImage &image, bool keepPalette, int paletteMode, Palette *palette) = 0;
    /// Replaces the picture by one whose colour table equals the sprite's palette already, or by
    /// one of true colour.
    virtual void setImage(const QImage &image) = 0;
    /// The palette that the indices stand for; null for a picture of true colour and for none.
    virtual Palette *palette() const = 0;
    /// Whether another sprite of the file has the same palette.
    virtual bool sharesPalette() const = 0;
    /// What makes image() anew on any thread, for views of thousands of sprites: it has all that it
    /// needs, and the sprite, its file and their store may change or go meanwhile. Empty without a
    /// picture. Here it is handed the picture decoded; an engine whose coders bear threads hands
    /// over the encoded bytes instead.
    virtual std::function<QImage()> pictureJob() const;

    /// The picture on a larger canvas, so that several sprites line up: its point `from` comes to
    /// lie on `to`, and the canvas reaches `extent` beyond that. What is left is filled with zero
    /// bytes; what would lie outside is cut off. Null without a picture or for an empty canvas.
    QImage aligned(QPoint from, QPoint to, QPoint extent) const;

protected:
    /// Takes one reference to `data` over, which may be null.
    explicit Sprite(StreamCacheData *data = nullptr);
    ~Sprite() override;
};

/// The palettes of a sprite file, as a list. An engine derives its own class from it; it belongs to
/// the sprites and has their undo.
///
/// Indexes out of range give null and change nothing.
class KILNX_EXPORT Palettes : public OrganizableObject
{
    Q_OBJECT

public:
    /// The palette that editors show. Whoever reads it looks whether there is such a one.
    unsigned int current() const { return m_current; }
    virtual void setCurrent(unsigned int index) = 0;
    /// The table that the remap dialog shows: which palettes stand in for which others. May be
    /// null. Owned by the palettes.
    virtual QAbstractItemModel *remapModel() = 0;
    virtual Sprites *sprites() const = 0;
    virtual unsigned int count() const = 0;
    virtual Palette *at(unsigned int index) const = 0;
    /// Puts a copy behind the palette at `index` and returns it.
    virtual Palette *duplicate(unsigned int index) = 0;
    /// Puts a new palette before `index`, or at the end, and returns it. `colors` has 256 entries;
    /// with `select` it becomes the current one.
    virtual Palette *
    insert(unsigned int index, const RGBA *colors, const QVariant &identifier, bool select) = 0;
    /// The first palette from `from` on with exactly these 256 colours, or -1.
    virtual int find(unsigned int from, const RGBA *colors) const = 0;
    /// insert() at the end.
    virtual Palette *add(const RGBA *colors, const QVariant &identifier, bool select) = 0;
    /// Removes the palettes that no sprite uses, as one change. Returns how many.
    virtual unsigned int removeUnused() = 0;
    /// Removes each palette that equals an earlier one, as one change; its sprites are given that
    /// one. Returns how many.
    virtual unsigned int removeDuplicates() = 0;
    /// Shows every sprite of the file in the palette at `index`, as one change.
    virtual void applyToAll(unsigned int index) = 0;
    /// The first row from `from` on with that identifier, or -1.
    virtual int indexOf(int from, const QVariant &identifier) const = 0;

protected:
    explicit Palettes(QObject *parent = nullptr);
    ~Palettes() override;

    unsigned int m_current = 0;
};

/// A sprite file: an ordered list of sprites as a model, their palettes, and the file that holds
/// them. An engine derives its own class from it and brings the file format and the undo history.
///
/// Indexes out of range give null and change nothing.
class KILNX_EXPORT Sprites : public OrganizableObject, public SearchableCachedProjectFile
{
    Q_OBJECT

public:
    /// The sprite that editors show. Whoever reads it looks whether there is such a one.
    unsigned int current() const { return m_current; }
    /// Emits no signal; editors clamp the index.
    virtual void setCurrent(unsigned int index) = 0;
    /// Owned by the sprites; never null.
    virtual Palettes *palettes() const = 0;
    virtual Sprite *at(unsigned int index) const = 0;
    /// Puts a new sprite before `index`, or at the end, and returns it. `image` may be null: the
    /// picture then comes by Sprite::setImage().
    virtual Sprite *insert(unsigned int index, const QVariant &identifier, const QImage &image) = 0;
    /// Puts a copy behind the sprite at `index`, with the same palette, and returns it.
    virtual Sprite *duplicate(unsigned int index) = 0;
    /// The first row from `from` on with that identifier, or -1.
    virtual int indexOf(int from, const QVariant &identifier) const = 0;

    /// The number of rows.
    unsigned int itemCount() const override;
    /// at().
    Sprite *itemAt(unsigned int index) const override;
    QAbstractItemModel *model() override;
    void beginChange() override = 0;
    void endChange() override = 0;
    /// Closes the group that beginChange() opened, in which something was changed, and takes all of
    /// it back. Here by undo(), which leaves a step for redo(); an engine whose history can drop a
    /// group leaves it as it was before.
    virtual void cancelChange();

protected:
    /// Takes `cache` over.
    explicit Sprites(StreamCache *cache);
    ~Sprites() override;

    unsigned int m_current = 0;
};

/// What a view shows at the moment: one sprite of an editor, or those of an animation's frame. The
/// view asks for everything anew when changed() is emitted, and for one item at changedAt().
class KILNX_EXPORT SpriteProvider : public QObject
{
    Q_OBJECT

public:
    /// The ids of property(), with the type that is read.
    enum PropertyId : unsigned int {
        Position = 0,  ///< QPoint
        Placement = 1, ///< int, 8 bits: placement flags
        Anchor = 2,    ///< int, 16 bits: the index that the placement refers to
        Size = 3,      ///< QSize in pixels
        Scale = 4,     ///< QPointF: factors in x and y
        Mirror = 5,    ///< unsigned, 8 bits: mirror flags
        Opacity = 6,   ///< float, from 0 to 1
        Layer = 7,     ///< int, 8 bits: the pass in which it is drawn
        // For views that turn pictures, which is the business of the class that draws them.
        Angle = 8, ///< double: degrees, counter-clockwise
        Pivot = 9  ///< QPointF: what it turns about, in pixels of the mirrored picture
    };

    explicit SpriteProvider(QObject *parent = nullptr);
    ~SpriteProvider() override;

    /// How many items there are.
    virtual unsigned int count() = 0;
    /// Null for an item without a picture.
    virtual Sprite *spriteAt(unsigned int index) = 0;
    /// `id` is a PropertyId; an invalid variant stands for 0.
    virtual QVariant property(unsigned int index, unsigned int id) = 0;

Q_SIGNALS:
    /// The number of items or any of them has changed.
    void changed();
    /// One item has changed.
    void changedAt(unsigned int index);
};

} // namespace Kiln
