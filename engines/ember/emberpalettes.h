#pragma once

#include "emberlist.h"

#include <kilnx/image/sprite.h>
#include <kilnx/render/texture.h>

#include <QAbstractTableModel>

class EmberPalettes;
class EmberSprites;

/// One palette of an EmberSprites. Changes go through the undo history of the sprites.
class EMBER_EXPORT EmberPalette : public Kiln::Palette
{
public:
    EmberPalette(EmberPalettes &list, const QString &identifier, const Kiln::RGBA *colors);
    ~EmberPalette() override;

    QString identifier() const { return m_identifier; }
    void exchangeIdentifier(QString &other) { m_identifier.swap(other); }
    /// Another number for each palette, and after each change of its colours.
    unsigned int stamp() const { return m_stamp; }
    /// The colours as the colour table of a picture.
    QVector<QRgb> colorTable() const { return tableOf(m_colors); }
    /// 256 entries as a colour table.
    static QVector<QRgb> tableOf(const Kiln::RGBA *colors);

    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    int index() const override;
    Kiln::Palettes *palettes() const override;
    unsigned int useCount() const override;
    const Kiln::Texture &texture() const override;
    void toPalette(Kiln::RGBA (&out)[256]) const override;
    void setColors(const Kiln::RGBA *colors, int flags) override;

private:
    friend class EmberPalettes;
    void exchangeColors(Kiln::RGBA (&other)[256]);

    EmberPalettes &m_list;
    QString m_identifier;
    unsigned int m_stamp;
    mutable Kiln::Texture m_texture;
    mutable unsigned int m_uploaded = 0; // the stamp of what is on the card
};

/// Which palettes stand in for which others in the game: a table of two columns, of which the user
/// edits the names. Every change is a step of undo. Rows come by insertRows() and go by
/// removeRows(); Qt::EditRole takes the row of a palette or its name.
class EMBER_EXPORT EmberStandIns : public QAbstractTableModel
{
    Q_OBJECT

public:
    struct Pair {
        EmberPalette *from = nullptr;
        EmberPalette *to = nullptr;
        bool operator==(const Pair &o) const { return from == o.from && to == o.to; }
    };

    EmberStandIns(EmberPalettes &palettes, EmberHistory &history);

    const QVector<Pair> &pairs() const { return m_pairs; }
    /// As a step of undo.
    void setPairs(const QVector<Pair> &pairs);
    /// Takes the pairs that name the palette out.
    void removePalette(const EmberPalette *palette);
    /// From a file, without a step of undo.
    void replacePairs(const QVector<Pair> &pairs);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool insertRows(int row, int count, const QModelIndex &parent = {}) override;
    bool removeRows(int row, int count, const QModelIndex &parent = {}) override;

private:
    class PairsCommand;

    EmberPalettes &m_palettes;
    EmberHistory &m_history;
    QVector<Pair> m_pairs;
};

/// The palettes of an EmberSprites, in the order of the file. Removing one shows its sprites in the
/// palette that comes to stand first, in the same step of undo.
class EMBER_EXPORT EmberPalettes : public EmberList<Kiln::Palettes, EmberPalette>
{
    Q_OBJECT

public:
    EmberPalettes(EmberSprites &sprites, EmberHistory &history);
    ~EmberPalettes() override;

    /// The identifier, and as a tool tip the number of sprites.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    void remove(unsigned int index) override;
    void setCurrent(unsigned int index) override;
    EmberStandIns *remapModel() override;
    Kiln::Sprites *sprites() const override;
    unsigned int count() const override;
    EmberPalette *at(unsigned int index) const override;
    EmberPalette *duplicate(unsigned int index) override;
    EmberPalette *insert(unsigned int index,
                         const Kiln::RGBA *colors,
                         const QVariant &identifier,
                         bool select) override;
    int find(unsigned int from, const Kiln::RGBA *colors) const override;
    EmberPalette *add(const Kiln::RGBA *colors, const QVariant &identifier, bool select) override;
    unsigned int removeUnused() override;
    unsigned int removeDuplicates() override;
    void applyToAll(unsigned int index) override;
    int indexOf(int from, const QVariant &identifier) const override;

private:
    friend class EmberPalette;
    friend class EmberSprites;
    class ColorsCommand;

    void removeShownIn(unsigned int index, EmberPalette *instead);
    void changeColors(EmberPalette &palette, const Kiln::RGBA *colors, int flags);
    void colorsChanged(EmberPalette &palette);

    EmberSprites &m_sprites;
    EmberHistory &m_history;
    EmberStandIns m_standIns;
};
