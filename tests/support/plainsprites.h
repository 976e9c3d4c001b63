#pragma once

#include <ember/embersprites.h>
#include <kilnx/image/imageops.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtGui/QImage>

#include <cstring>
#include <random>

/// A sprite file as plain lists, and a seeded user who changes both in the same way.
namespace PlainSprites
{

using namespace Kiln;

using Colors = QVector<QRgb>;

inline QString digest(const void *bytes, qint64 size)
{
    return QString::number(qHashBits(bytes, static_cast<size_t>(size)), 16);
}

// All that can be seen of a sprite, and of a palette.
inline QString describe(const QString &name, const QImage &image, int palette, QPoint origin)
{
    const QByteArray pixels = EmberGleam::pixelsOf(image);
    const Colors table = image.colorTable();
    return QString("%1 %2x%3 %4 in %5 from %8 %9: %6 %7")
        .arg(name)
        .arg(image.width())
        .arg(image.height())
        .arg(image.format())
        .arg(palette)
        .arg(digest(pixels.constData(), pixels.size()), digest(table.constData(), table.size() * 4))
        .arg(origin.x())
        .arg(origin.y());
}

inline QString describe(const QString &name, const Colors &colors)
{
    return name + QLatin1Char(' ') + digest(colors.constData(), colors.size() * 4);
}

inline QStringList described(const EmberSprites &sprites)
{
    QStringList list;
    for (unsigned int row = 0; row < sprites.itemCount(); ++row) {
        const EmberSprite *sprite = sprites.at(row);
        const Palette *palette = sprite->palette();
        list << describe(sprite->identifier(), sprite->image(), palette ? palette->index() : -1,
                         sprite->origin());
    }
    const EmberPalettes &palettes = *sprites.palettes();
    for (unsigned int row = 0; row < palettes.count(); ++row)
        list << describe(palettes.at(row)->identifier(), palettes.at(row)->colorTable());
    for (const EmberStandIns::Pair &pair : sprites.palettes()->remapModel()->pairs())
        list << QString("%1 as %2").arg(pair.from->index()).arg(pair.to->index());
    return list;
}

inline QVector<RGBA> entries(const Colors &table)
{
    QVector<RGBA> colors(256);
    std::transform(table.cbegin(), table.cend(), colors.begin(), fromQRgb);
    return colors;
}

// The plain model: two lists of values and a list of pairs.
struct Plain {
    struct Colored {
        QString name;
        Colors table;
        int id;
    };
    struct Picture {
        QString name;
        QImage image;
        int palette = -1; // an id
        QPoint origin;
    };

    QList<Picture> pictures;
    QList<Colored> palettes;
    QList<QPair<int, int>> pairs; // of ids
    int lastId = 0;

    int rowOf(int id) const
    {
        for (int row = 0; row < palettes.size(); ++row) {
            if (palettes[row].id == id)
                return row;
        }
        return -1;
    }
    int idOf(const QString &name, const Colors &table)
    {
        for (const Colored &palette : qAsConst(palettes)) {
            if (palette.table == table)
                return palette.id;
        }
        palettes.append({name, table, ++lastId});
        return lastId;
    }
    // As in EmberSprite::setImage().
    void set(Picture &picture, QImage image, int mode, int id, bool isReversed = false)
    {
        if (isReversed && image.depth() == 8) {
            Colors turned(256, 0xFF000000);
            for (int i = 0; i < image.colorCount(); ++i)
                turned[255 - i] = image.color(i);
            image.setColorTable(turned);
            for (int i = 0; i < image.width() * image.height(); ++i) {
                uchar &pixel = image.scanLine(i / image.width())[i % image.width()];
                pixel = uchar(255 - pixel);
            }
        }
        if (mode == Sprite::ForcePalette || (mode == Sprite::ExchangePalette && image.depth() > 8))
            adaptImageToPalette(image, entries(palettes[rowOf(id)].table).constData());
        Colors table = image.colorTable();
        std::fill_n(std::back_inserter(table), 256 - qMin(table.size(), 256), 0xFF000000);
        picture.image = image;
        picture.palette = image.depth() > 8              ? -1
                          : mode == Sprite::ImagePalette ? idOf(picture.name, table)
                                                         : id;
    }
    void removePalette(int row, int instead)
    {
        const int id = palettes[row].id;
        for (Picture &picture : pictures) {
            if (picture.palette == id)
                picture.palette = instead;
        }
        for (int i = pairs.size() - 1; i >= 0; --i) {
            if (pairs[i].first == id || pairs[i].second == id)
                pairs.removeAt(i);
        }
        palettes.removeAt(row);
    }
    QStringList described() const
    {
        QStringList list;
        for (const Picture &picture : pictures) {
            const int row = rowOf(picture.palette);
            QImage image = picture.image;
            image.setColorTable(row < 0 ? Colors() : palettes[row].table);
            list << describe(picture.name, image, row, picture.origin);
        }
        for (const Colored &palette : palettes)
            list << describe(palette.name, palette.table);
        for (const auto &pair : pairs)
            list << QString("%1 as %2").arg(rowOf(pair.first)).arg(rowOf(pair.second));
        return list;
    }
};

// Changes a file and the plain model alike; no two pictures or palettes are equal by chance.
class Changer
{
public:
    Changer(EmberSprites &sprites, unsigned int seed)
        : m_sprites(sprites)
        , m_palettes(*sprites.palettes())
        , m_random(seed)
    {
    }

    Plain plain;

    void step()
    {
        const int kind = below(24);
        if (kind < 10)
            changeSprites(kind, below(plain.pictures.size()));
        else if (kind < 20)
            changePalettes(kind - 10, below(plain.palettes.size()));
        else
            changePairs(kind - 20);
    }

    int below(int limit) { return int(m_random() % unsigned(qMax(limit, 1))); }

private:
    QImage image()
    {
        const QImage::Format formats[] = {QImage::Format_Indexed8, QImage::Format_Indexed8,
                                          QImage::Format_RGB32, QImage::Format_ARGB32};
        QImage picture(4 + below(40), 1 + below(20), formats[below(4)]);
        const int colors = below(2) ? 32 : 256;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width() * picture.depth() / 8; ++x)
                picture.scanLine(y)[x] = uchar(below(4) ? 1 : below(colors));
        }
        if (picture.depth() == 8)
            picture.setColorTable(below(3) || plain.palettes.isEmpty()
                                      ? table(1 + below(256))
                                      : plain.palettes[below(plain.palettes.size())].table);
        const int number = ++m_count;
        for (int i = 0; i < 4; ++i)
            picture.scanLine(0)[i] = uchar((number >> (i * 4) & 0xF) + 1);
        return picture;
    }

    Colors table(int count = 256)
    {
        Colors colors;
        for (int i = 0; i < count; ++i)
            colors.append(m_random());
        return colors;
    }

    template<class T>
    static void sortByName(QList<T> &list)
    {
        std::stable_sort(list.begin(), list.end(), [](const T &a, const T &b) {
            return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
        });
    }

    void changeSprites(int kind, int row)
    {
        const QString name = QString("%1 %2").arg(QChar('a' + below(26))).arg(++m_count);
        const unsigned int count = m_sprites.itemCount();
        if (kind < 2 || count == 0) {
            row = below(int(count) + 1);
            const QImage picture = kind == 0 ? QImage() : image();
            m_sprites.insert(unsigned(row), name, picture);
            plain.pictures.insert(row, {name, QImage(), -1, {}});
            if (!picture.isNull())
                plain.set(plain.pictures[row], picture, Sprite::ImagePalette, -1);
            return;
        }
        EmberSprite *sprite = m_sprites.at(unsigned(row));
        Plain::Picture &picture = plain.pictures[row];
        const int palette = plain.palettes.isEmpty() ? -1 : below(plain.palettes.size());
        const int id = palette < 0 ? -1 : plain.palettes[palette].id;
        if (kind < 5 && palette >= 0) {
            const int mode = kind - 1;
            const QImage fresh = image();
            const bool isReversed = below(3) == 0;
            sprite->setImage(fresh, isReversed, mode, m_palettes.at(unsigned(palette)));
            plain.set(picture, fresh, mode, id, isReversed);
        } else if (kind == 5 && below(2)) {
            const QImage fresh = image();
            const bool keeps = fresh.depth() == 8 && picture.palette >= 0;
            sprite->setImage(fresh);
            plain.set(picture, fresh, keeps ? Sprite::ExchangePalette : Sprite::ImagePalette,
                      picture.palette);
        } else if (kind == 5 && palette >= 0 && picture.image.depth() == 8) {
            sprite->setPalette(m_palettes.at(unsigned(palette)));
            picture.palette = id;
        } else if (kind == 6) {
            m_sprites.remove(unsigned(row));
            plain.pictures.removeAt(row);
        } else if (kind == 7) {
            const int to = below(int(count));
            m_sprites.move(unsigned(row), unsigned(to));
            plain.pictures.move(row, to);
        } else if (kind == 8 && below(2)) {
            sprite->setProperty("Identifier", name);
            picture.name = name;
        } else if (kind == 8) {
            // Beyond 16 bits they are cut.
            const QPoint origin(below(80000) - 40000, below(100) - 50);
            sprite->setProperty("Origin", origin);
            picture.origin = {qBound(-32768, origin.x(), 32767), origin.y()};
        } else if (kind == 9 && below(2)) {
            // Two equal ones could change places without a trace.
            m_sprites.beginChange();
            m_sprites.rename(*m_sprites.duplicate(unsigned(row)), name);
            m_sprites.endChange();
            plain.pictures.insert(row + 1, {name, picture.image, picture.palette, picture.origin});
        } else if (kind == 9) {
            m_sprites.autoOrganize();
            sortByName(plain.pictures);
        }
    }

    void changePalettes(int kind, int row)
    {
        const QString name = QString("p%1").arg(++m_count);
        const Colors fresh = table();
        const int count = plain.palettes.size();
        if (kind == 0 || count == 0) {
            row = below(count + 1);
            m_palettes.insert(unsigned(row), entries(fresh).constData(), name, false);
            plain.palettes.insert(row, {name, fresh, ++plain.lastId});
        } else if (kind == 1) {
            m_palettes.remove(unsigned(row));
            plain.removePalette(row, count == 1 ? -1 : plain.palettes[row == 0 ? 1 : 0].id);
        } else if (kind == 2) {
            const int to = below(count);
            m_palettes.move(unsigned(row), unsigned(to));
            plain.palettes.move(row, to);
        } else if (kind == 3) {
            m_palettes.at(unsigned(row))->setProperty("Identifier", name);
            plain.palettes[row].name = name;
        } else if (kind == 4 || kind == 5) {
            m_palettes.at(unsigned(row))
                ->setColors(entries(fresh).constData(), Palette::SetReplaced);
            plain.palettes[row].table = fresh;
        } else if (kind == 6) {
            m_palettes.beginChange();
            m_palettes.rename(*m_palettes.duplicate(unsigned(row)), name);
            m_palettes.endChange();
            plain.palettes.insert(row + 1, {name, plain.palettes[row].table, ++plain.lastId});
        } else if (kind == 7) {
            const auto removed = m_palettes.removeUnused();
            for (int i = count - 1; i >= 0; --i) {
                if (m_palettes.sprites() &&
                    std::none_of(plain.pictures.cbegin(), plain.pictures.cend(),
                                 [&](const Plain::Picture &picture) {
                                     return picture.palette == plain.palettes[i].id;
                                 }))
                    plain.removePalette(i, -1);
            }
            QCOMPARE(int(removed), count - plain.palettes.size());
        } else if (kind == 8) {
            m_palettes.removeDuplicates();
            for (int i = count - 1; i > 0; --i) {
                for (int k = 0; k < i; ++k) {
                    if (plain.palettes[k].table == plain.palettes[i].table) {
                        plain.removePalette(i, plain.palettes[k].id);
                        break;
                    }
                }
            }
        } else if (below(2)) {
            m_palettes.applyToAll(unsigned(row));
            for (Plain::Picture &picture : plain.pictures) {
                if (picture.image.depth() == 8)
                    picture.palette = plain.palettes[row].id;
            }
        } else {
            m_palettes.autoOrganize();
            sortByName(plain.palettes);
        }
    }

    void changePairs(int kind)
    {
        EmberStandIns *model = m_palettes.remapModel();
        const int row = below(plain.pairs.size());
        if (plain.palettes.isEmpty()) {
            QVERIFY(!model->insertRow(0));
        } else if (kind == 0 || plain.pairs.isEmpty()) {
            QVERIFY(model->insertRow(row));
            plain.pairs.insert(row, {plain.palettes[0].id, plain.palettes[0].id});
        } else if (kind == 1) {
            QVERIFY(model->removeRow(row));
            plain.pairs.removeAt(row);
        } else {
            const int palette = below(plain.palettes.size());
            QVERIFY(model->setData(model->index(row, kind - 2), palette, Qt::EditRole));
            (kind == 2 ? plain.pairs[row].first : plain.pairs[row].second) =
                plain.palettes[palette].id;
        }
    }

    EmberSprites &m_sprites;
    EmberPalettes &m_palettes;
    std::mt19937 m_random;
    int m_count = 0;
};

} // namespace PlainSprites
