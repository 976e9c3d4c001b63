#include "emberpalettes.h"

#include "embersprites.h"

#include <cstring>

namespace
{

const QLatin1String identifierName("Identifier");

bool sameColors(const Kiln::RGBA *one, const Kiln::RGBA *other)
{
    return std::memcmp(one, other, 256 * sizeof(Kiln::RGBA)) == 0;
}

/// A palette may come to lie where one was that is gone, so no two have the same.
unsigned int nextStamp()
{
    static unsigned int last = 0;
    return ++last;
}

} // namespace

EmberPalette::EmberPalette(EmberPalettes &list, const QString &identifier, const Kiln::RGBA *colors)
    : m_list(list)
    , m_identifier(identifier)
    , m_stamp(nextStamp())
{
    std::copy_n(colors, 256, m_colors);
}

EmberPalette::~EmberPalette() = default;

QVector<QRgb> EmberPalette::tableOf(const Kiln::RGBA *colors)
{
    QVector<QRgb> table(256);
    std::transform(colors, colors + 256, table.begin(), Kiln::toQRgb);
    return table;
}

QVariant EmberPalette::property(const QString &name)
{
    return name == identifierName ? QVariant(m_identifier) : QVariant();
}

void EmberPalette::setProperty(const QString &name, const QVariant &value)
{
    if (name == identifierName)
        m_list.rename(*this, value.toString());
}

int EmberPalette::index() const
{
    return m_list.rowOf(this);
}

Kiln::Palettes *EmberPalette::palettes() const
{
    return &m_list;
}

unsigned int EmberPalette::useCount() const
{
    return m_list.m_sprites.useCount(this);
}

const Kiln::Texture &EmberPalette::texture() const
{
    if (Kiln::Texture::isOpenGLEnabled() && (m_uploaded != m_stamp || !m_texture.isOnCard())) {
        m_texture.fromPalette(m_colors);
        m_uploaded = m_stamp;
    }
    return m_texture;
}

void EmberPalette::toPalette(Kiln::RGBA (&out)[256]) const
{
    std::copy_n(m_colors, 256, out);
}

void EmberPalette::setColors(const Kiln::RGBA *colors, int flags)
{
    m_list.changeColors(*this, colors, flags);
}

void EmberPalette::exchangeColors(Kiln::RGBA (&other)[256])
{
    std::swap_ranges(m_colors, m_colors + 256, other);
    m_stamp = nextStamp();
}

/// A run of edits of one palette is one step.
class EmberPalettes::ColorsCommand : public QUndoCommand
{
public:
    ColorsCommand(EmberPalettes &list, EmberPalette &palette, const Kiln::RGBA *colors, bool merges)
        : m_list(list)
        , m_palette(palette)
        , m_merges(merges)
    {
        std::copy_n(colors, 256, m_colors);
    }
    void redo() override
    {
        m_palette.exchangeColors(m_colors);
        m_list.colorsChanged(m_palette);
    }
    void undo() override { redo(); }
    int id() const override { return m_merges ? 1 : -1; }
    /// The palette has the newer colours already; the oldest ones stay here.
    bool mergeWith(const QUndoCommand *next) override
    {
        return &static_cast<const ColorsCommand *>(next)->m_palette == &m_palette;
    }

private:
    EmberPalettes &m_list;
    EmberPalette &m_palette;
    Kiln::RGBA m_colors[256];
    const bool m_merges;
};

EmberPalettes::EmberPalettes(EmberSprites &sprites, EmberHistory &history)
    : EmberList(history)
    , m_sprites(sprites)
    , m_history(history)
    , m_standIns(*this, history)
{
}

EmberPalettes::~EmberPalettes() = default;

QVariant EmberPalettes::data(const QModelIndex &index, int role) const
{
    const EmberPalette *palette = items().value(index.isValid() ? index.row() : -1);
    if (!palette)
        return QVariant();
    if (role == Qt::DisplayRole)
        return palette->identifier();
    return role == Qt::ToolTipRole ? tr("%n sprite(s)", nullptr, int(palette->useCount()))
                                   : QVariant();
}

void EmberPalettes::remove(unsigned int index)
{
    removeShownIn(index, at(index == 0 ? 1 : 0));
}

/// Removes a palette whose sprites are shown in another one, or in none.
void EmberPalettes::removeShownIn(unsigned int index, EmberPalette *instead)
{
    EmberPalette *palette = at(index);
    if (!palette)
        return;
    beginChange();
    for (unsigned int row = 0; row < m_sprites.itemCount(); ++row) {
        if (m_sprites.at(row)->palette() == palette)
            m_sprites.at(row)->setPalette(instead);
    }
    m_standIns.removePalette(palette);
    EmberList::remove(index);
    endChange();
}

void EmberPalettes::setCurrent(unsigned int index)
{
    m_current = index;
}

EmberStandIns *EmberPalettes::remapModel()
{
    return &m_standIns;
}

Kiln::Sprites *EmberPalettes::sprites() const
{
    return &m_sprites;
}

unsigned int EmberPalettes::count() const
{
    return static_cast<unsigned int>(items().size());
}

EmberPalette *EmberPalettes::at(unsigned int index) const
{
    return item(index);
}

EmberPalette *EmberPalettes::duplicate(unsigned int index)
{
    const EmberPalette *palette = at(index);
    return palette ? insert(index + 1, palette->colors(), palette->identifier(), false) : nullptr;
}

EmberPalette *EmberPalettes::insert(unsigned int index,
                                    const Kiln::RGBA *colors,
                                    const QVariant &identifier,
                                    bool select)
{
    auto *palette = new EmberPalette(*this, identifier.toString(), colors);
    insertItem(index, palette);
    if (select)
        setCurrent(qMin(index, count() - 1));
    return palette;
}

int EmberPalettes::find(unsigned int from, const Kiln::RGBA *colors) const
{
    for (unsigned int row = from; row < count(); ++row) {
        if (sameColors(at(row)->colors(), colors))
            return static_cast<int>(row);
    }
    return -1;
}

EmberPalette *EmberPalettes::add(const Kiln::RGBA *colors, const QVariant &identifier, bool select)
{
    return insert(count(), colors, identifier, select);
}

unsigned int EmberPalettes::removeUnused()
{
    const unsigned int before = count();
    const QSet<const Kiln::Palette *> used = m_sprites.usedPalettes();
    beginChange();
    for (unsigned int row = before; row-- > 0;) {
        if (!used.contains(at(row)))
            removeShownIn(row, nullptr);
    }
    endChange();
    return before - count();
}

unsigned int EmberPalettes::removeDuplicates()
{
    const unsigned int before = count();
    beginChange();
    for (unsigned int row = before; row-- > 1;) {
        const int first = find(0, at(row)->colors());
        if (first < static_cast<int>(row))
            removeShownIn(row, at(static_cast<unsigned int>(first)));
    }
    endChange();
    return before - count();
}

void EmberPalettes::applyToAll(unsigned int index)
{
    EmberPalette *palette = at(index);
    if (!palette)
        return;
    beginChange();
    for (unsigned int row = 0; row < m_sprites.itemCount(); ++row)
        m_sprites.at(row)->setPalette(palette);
    endChange();
}

int EmberPalettes::indexOf(int from, const QVariant &identifier) const
{
    return rowNamed(from, identifier.toString());
}

void EmberPalettes::changeColors(EmberPalette &palette, const Kiln::RGBA *colors, int flags)
{
    if (sameColors(palette.colors(), colors))
        return;
    const bool merges = (flags & Kiln::Palette::SetReplaced) == 0;
    m_history.add(new ColorsCommand(*this, palette, colors, merges));
}

void EmberPalettes::colorsChanged(EmberPalette &palette)
{
    rowChanged(&palette);
    emit m_sprites.modified();
}

class EmberStandIns::PairsCommand : public QUndoCommand
{
public:
    PairsCommand(EmberStandIns &model, const QVector<Pair> &pairs)
        : m_model(model)
        , m_pairs(pairs)
    {
    }
    void redo() override
    {
        const QVector<Pair> before = m_model.m_pairs;
        m_model.replacePairs(m_pairs);
        m_pairs = before;
    }
    void undo() override { redo(); }

private:
    EmberStandIns &m_model;
    QVector<Pair> m_pairs;
};

EmberStandIns::EmberStandIns(EmberPalettes &palettes, EmberHistory &history)
    : m_palettes(palettes)
    , m_history(history)
{
}

void EmberStandIns::setPairs(const QVector<Pair> &pairs)
{
    if (pairs != m_pairs)
        m_history.add(new PairsCommand(*this, pairs));
}

void EmberStandIns::removePalette(const EmberPalette *palette)
{
    QVector<Pair> pairs = m_pairs;
    pairs.erase(std::remove_if(pairs.begin(), pairs.end(),
                               [palette](const Pair &pair) {
                                   return pair.from == palette || pair.to == palette;
                               }),
                pairs.end());
    setPairs(pairs);
}

void EmberStandIns::replacePairs(const QVector<Pair> &pairs)
{
    beginResetModel();
    m_pairs = pairs;
    endResetModel();
}

int EmberStandIns::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_pairs.size();
}

int EmberStandIns::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 2;
}

QVariant EmberStandIns::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_pairs.size())
        return QVariant();
    const Pair &pair = m_pairs[index.row()];
    const EmberPalette *palette = index.column() == 0 ? pair.from : pair.to;
    if (role == Qt::EditRole && palette)
        return palette->index();
    return role == Qt::DisplayRole && palette ? palette->identifier() : QVariant();
}

bool EmberStandIns::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !index.isValid() || index.row() >= m_pairs.size())
        return false;
    bool isRow = false;
    int row = value.toInt(&isRow);
    if (!isRow)
        row = m_palettes.indexOf(0, value);
    EmberPalette *palette = row < 0 ? nullptr : m_palettes.at(static_cast<unsigned int>(row));
    if (!palette)
        return false;
    QVector<Pair> pairs = m_pairs;
    (index.column() == 0 ? pairs[index.row()].from : pairs[index.row()].to) = palette;
    setPairs(pairs);
    return true;
}

QVariant EmberStandIns::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return section == 0 ? tr("Palette") : tr("Shown as");
}

Qt::ItemFlags EmberStandIns::flags(const QModelIndex &index) const
{
    return QAbstractTableModel::flags(index) |
           (index.isValid() ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

bool EmberStandIns::insertRows(int row, int count, const QModelIndex &parent)
{
    EmberPalette *first = m_palettes.at(0);
    if (parent.isValid() || row < 0 || row > m_pairs.size() || count <= 0 || !first)
        return false;
    QVector<Pair> pairs = m_pairs;
    pairs.insert(row, count, {first, first});
    setPairs(pairs);
    return true;
}

bool EmberStandIns::removeRows(int row, int count, const QModelIndex &parent)
{
    if (parent.isValid() || row < 0 || count <= 0 || count > m_pairs.size() - row)
        return false;
    QVector<Pair> pairs = m_pairs;
    pairs.remove(row, count);
    setPairs(pairs);
    return true;
}
