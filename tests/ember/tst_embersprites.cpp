#include <ember/embersprites.h>
#include <kilnx/cache/streamcache.h>
#include <kilnx/code/messages.h>
#include <kilnx/image/palette.h>
#include <tests/support/emberlists.h>
#include <tests/support/modeltester.h>
#include <tests/support/plainsprites.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <random>

using namespace Kiln;
using namespace PlainSprites;

namespace
{

using SpritesPointer = std::unique_ptr<EmberSprites, Release>;

// The contract alone: a sprite that is nothing but a picture.
class Bare : public Sprite
{
public:
    explicit Bare(const QImage &picture, StreamCacheData *data = nullptr)
        : Sprite(data)
        , m_picture(picture)
    {
    }
    ~Bare() override = default;
    void letGo() { m_data = nullptr; }
    QVariant property(const QString &) override { return {}; }
    void setProperty(const QString &, const QVariant &) override {}
    int index() const override { return -1; }
    Sprites *sprites() const override { return nullptr; }
    bool isEmpty() const override { return m_picture.isNull(); }
    void finishImport() override {}
    const Texture &texture() const override { Q_UNREACHABLE(); }
    void resetTexture() override {}
    QImage image() const override { return m_picture; }
    ImageInfo imageInfo() const override { return {}; }
    void setPalette(Palette *) override {}
    void setImage(const QImage &, bool, int, Palette *) override {}
    void setImage(const QImage &) override {}
    Palette *palette() const override { return nullptr; }
    bool sharesPalette() const override { return false; }

private:
    QImage m_picture;
};

QImage picture(int width, int height, uchar value, const Colors &table)
{
    QImage image(width, height, QImage::Format_Indexed8);
    image.fill(value);
    image.setColorTable(table);
    return image;
}

} // namespace

class TestEmberSprites : public EmberListTest
{
    Q_OBJECT

private slots:
    void followsThePlainModel_data()
    {
        columns<int>("store");
        addRow("memory", int(StreamCache::Memory));
        addRow("disk", int(StreamCache::Disk));
    }

    // Random changes, undo and redo in between, and a file that is read back.
    void followsThePlainModel()
    {
        QFETCH(int, store);
        for (unsigned int seed = 1; seed <= 8; ++seed) {
            const SpritesPointer sprites(new EmberSprites(StreamCache::Type(store)));
            const ModelTester spritesTester(sprites.get());
            const ModelTester palettesTester(sprites->palettes());
            const ModelTester standInsTester(sprites->palettes()->remapModel());
            Changer changer(*sprites, seed);
            QList<Plain> states{changer.plain};
            int now = 0;
            for (int step = 0; step < 250; ++step) {
                for (int back = changer.below(20) ? 0 : changer.below(6); back > 0 && now > 0;
                     --back) {
                    sprites->undo();
                    QCOMPARE(described(*sprites), states[--now].described());
                }
                for (int forth = changer.below(20) ? 0 : 2; forth > 0 && now + 1 < states.size();
                     --forth) {
                    sprites->redo();
                    QCOMPARE(described(*sprites), states[++now].described());
                }
                changer.plain = states[now];
                changer.step();
                const QStringList after = changer.plain.described();
                QCOMPARE(described(*sprites), after);
                if (after == states[now].described())
                    continue;
                states = states.mid(0, ++now);
                states.append(changer.plain);
            }
            const QString name = file("all.gleam");
            QVERIFY(sprites->toFile(archive, name, false));
            const SpritesPointer again(new EmberSprites(StreamCache::Type(store)));
            QVERIFY(again->fromFile(archive, name, false));
            QCOMPARE(described(*again), described(*sprites));
            const QByteArray bytes = readFile(name);
            QVERIFY(again->toFile(archive, name, false));
            QVERIFY(readFile(name) == bytes);
            for (; now > 0; --now) {
                QCOMPARE(described(*sprites), states[now].described());
                sprites->undo();
            }
            QVERIFY(sprites->isEmpty());
            for (const Plain &state : qAsConst(states)) {
                QCOMPARE(described(*sprites), state.described());
                sprites->redo();
            }
        }
    }

    void paletteModes()
    {
        const SpritesPointer sprites(new EmberSprites);
        const Colors first{0xFF000000, 0xFFFF0000, 0xFF00FF00};
        EmberSprite *one = sprites->insert(0, "one", picture(3, 2, 1, first));
        EmberSprite *two = sprites->insert(1, "two", picture(5, 4, 2, first));
        QCOMPARE(one->palette(), two->palette());
        QVERIFY(one->sharesPalette());
        QCOMPARE(one->palette()->useCount(), 2u);
        QCOMPARE(one->image().pixel(0, 0), 0xFFFF0000);
        const ImageInfo info = two->imageInfo();
        QCOMPARE(QSize(info.width, info.height), QSize(5, 4));
        QCOMPARE(info.format, QImage::Format_Indexed8);

        // Counted from the end: index 1 of the picture is 254 in the new palette.
        one->setImage(picture(3, 2, 1, first), true, Sprite::ImagePalette, nullptr);
        QCOMPARE(one->image().pixelIndex(0, 0), 254);
        QCOMPARE(one->image().pixel(0, 0), 0xFFFF0000);
        QCOMPARE(sprites->palettes()->count(), 2u);

        QImage trueColor(2, 2, QImage::Format_ARGB32);
        trueColor.fill(0xFF00FE01);
        two->setImage(trueColor, false, Sprite::ExchangePalette, sprites->palettes()->at(0));
        QCOMPARE(two->image().pixelIndex(1, 1), 2); // mapped: there are no indices to keep
        two->setImage(trueColor);
        QVERIFY(!two->palette());
        QCOMPARE(two->image(), trueColor);
        two->setPalette(sprites->palettes()->at(0)); // has no indices
        QVERIFY(!two->palette());
        two->setImage(QImage(9, 9, QImage::Format_RGB16));
        QCOMPARE(two->imageInfo().format, QImage::Format_RGB32);
        two->setImage(QImage());
        QVERIFY(two->isEmpty() && two->image().isNull());
        // Too wide for the file, and too many bytes.
        for (const QSize &size : {QSize(70000, 1), QSize(65535, 65535)})
            two->setImage(QImage(size, QImage::Format_Indexed8));
        QVERIFY(two->isEmpty());
        // A palette of another file stands for its colours.
        const SpritesPointer others(new EmberSprites);
        const Colors strange(256, 0xFF123456);
        Palette *foreign = others->palettes()->add(entries(strange).constData(), "far", false);
        for (int mode : {Sprite::ForcePalette, Sprite::ExchangePalette}) {
            two->setImage(picture(2, 2, 1, first), false, mode, foreign);
            QCOMPARE(two->palette(), sprites->palettes()->at(2));
            QCOMPARE(two->image().colorTable(), strange);
        }
        one->setPalette(foreign);
        QCOMPARE(one->palette(), sprites->palettes()->at(1));
        QCOMPARE(one->palette()->colors()[0], (RGBA{0, 0, 0, 255})); // left out by the image
        // A palette that comes to lie where another one was has its own colours.
        for (QRgb color = 0xFF000001; color < 0xFF000008; ++color) {
            one->setPalette(
                sprites->palettes()->add(entries(Colors(256, color)).constData(), "new", false));
            QCOMPARE(one->image().pixel(0, 0), color);
            sprites->undo();
            sprites->undo();
            one->setProperty("Origin", QPoint(int(color & 255), 0));
        }
    }

    void editsOfAPaletteAreOneStep()
    {
        const SpritesPointer sprites(new EmberSprites);
        EmberPalettes &palettes = *sprites->palettes();
        const auto solid = [](QRgb color) { return entries(Colors(256, color)); };
        EmberPalette *palette = palettes.add(solid(1).constData(), "p", true);
        EmberSprite *sprite = sprites->insert(0, "s", QImage());
        sprite->setImage(picture(2, 2, 7, Colors(256, 1)), false, Sprite::ExchangePalette, palette);
        const auto color = [sprite] { return sprite->image().pixel(0, 0); };
        QSignalSpy modified(sprites.get(), &EmberSprites::modified);
        for (QRgb value : {2u, 3u, 4u})
            palette->setColors(solid(value).constData(), Palette::SetEdited);
        palette->setColors(solid(4).constData(), Palette::SetEdited); // no change
        QCOMPARE(modified.count(), 3);
        palette->setColors(solid(5).constData(), Palette::SetReplaced);
        palettes.insert(0, solid(9).constData(), "q", false);
        QCOMPARE(palette->index(), 1);
        QCOMPARE(color(), 5u);
        sprites->undo();
        sprites->undo();
        QCOMPARE(color(), 4u);
        sprites->undo();
        QCOMPARE(color(), 1u);
        sprites->redo();
        QCOMPARE(color(), 4u);
        RGBA out[256];
        palette->toPalette(out);
        QCOMPARE(out[255], fromQRgb(4));
        QCOMPARE(palettes.current(), 0u);
    }

    void bracketsAndSaving()
    {
        const SpritesPointer sprites(new EmberSprites(StreamCache::Memory, 2000));
        QSignalSpy changed(sprites.get(), &EmberSprites::changed);
        QSignalSpy palettesChanged(sprites->palettes(), &EmberPalettes::changed);
        sprites->beginChange();
        sprites->palettes()->beginChange();
        sprites->insert(0, "a", picture(2, 2, 0, {0xFF112233}));
        sprites->palettes()->endChange();
        sprites->insert(1, "b", QImage());
        sprites->endChange();
        QCOMPARE(changed.takeFirst().first().toBool(), true);
        QCOMPARE(palettesChanged.count(), 1);
        const QString name = file("own.gleam");
        QVERIFY(sprites->toFile(archive, name, false));
        QVERIFY(!sprites->isModified());
        const QByteArray good = readFile(name);

        // A cancelled bracket leaves the steps as they were, with what can be redone.
        sprites->at(0)->setProperty("Identifier", "c");
        sprites->undo();
        sprites->beginChange();
        sprites->insert(2, "d", picture(3, 3, 0, {0xFF445566}));
        sprites->undo(); // not in a bracket
        sprites->beginChange();
        sprites->palettes()->duplicate(0);
        sprites->remove(0);
        sprites->cancelChange();
        QCOMPARE(sprites->itemCount(), 3u);
        QCOMPARE(sprites->palettes()->count(), 2u);
        QVERIFY(sprites->isModified());
        bool wasModified = true;
        connect(sprites.get(), &EmberSprites::modified, this,
                [&] { wasModified = sprites->isModified(); });
        sprites->cancelChange();
        QVERIFY(!wasModified);
        QCOMPARE(sprites->itemCount(), 2u);
        QCOMPARE(sprites->palettes()->count(), 1u);
        sprites->redo();
        QCOMPARE(sprites->at(0)->identifier(), QString("c"));
        sprites->undo();
        sprites->undo();
        QVERIFY(sprites->isEmpty());
        sprites->redo();
        QVERIFY(!sprites->isModified());
        sprites->disconnect(this);
        sprites->beginChange();
        sprites->remove(0);
        sprites->Sprites::cancelChange(); // as a list of another engine has it
        QCOMPARE(sprites->itemCount(), 2u);

        // The limit that was given: the old file stays.
        sprites->palettes()->duplicate(0);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!sprites->toFile(archive, name, false));
        QVERIFY(sprites->isModified());
        QVERIFY(readFile(name) == good);
        sprites->undo();
        sprites->undo();
        QVERIFY(sprites->isEmpty());
        watchesItsFile(*sprites);
        QCOMPARE(sprites->itemCount(), 2u);
        QVERIFY(sprites->fromFile(archive, name, true));
        QVERIFY(sprites->isModified());
        QCOMPARE(sprites->indexOf(0, "b"), 1);
        QCOMPARE(sprites->indexOf(2, "b"), -1);
        QCOMPARE(sprites->search(QRegularExpression("b")).size(), 1);
        sprites->reset();
        QVERIFY(sprites->isEmpty() && !sprites->isModified() && sprites->fileName().isEmpty());
    }

    void lossesNeverReachTheFile_data() { addLosses(); }

    void lossesNeverReachTheFile()
    {
        const SpritesPointer sprites(new EmberSprites);
        for (int i = 0; i < 3; ++i) {
            QImage noise = picture(6, 6, 0, Colors(256, 0xFF000001));
            for (int at = 0; at < 36; ++at)
                noise.scanLine(at / 6)[at % 6] = uchar(40 + i + 5 * at);
            sprites->insert(0, QString::number(i), noise);
        }
        const QString name = file("good.gleam");
        QVERIFY(sprites->toFile(archive, name, false));
        checkLoss<EmberSprites>(name, [](EmberSprites &damaged) {
            damaged.at(1)->setImage(QImage(7, 7, QImage::Format_RGB32));
        });
    }

    // Twenty thousand pictures: none is decoded on opening, and one that is shown again and again
    // is decoded once.
    void opensWithoutDecoding()
    {
        const SpritesPointer sprites(new EmberSprites);
        const QImage image = picture(8, 8, 3, {0xFF000000, 0xFF111111, 0xFF222222, 0xFF333333});
        sprites->insert(0, "0", image);
        sprites->beginChange();
        for (unsigned int i = 1; i < 20000; ++i)
            sprites->duplicate(i - 1);
        sprites->endChange();
        const QString name = file("many.gleam");
        QVERIFY(sprites->toFile(archive, name, false));
        const SpritesPointer again(new EmberSprites);
        int decodings = 0;
        connect(again->cache(), &StreamCache::readFilter, this, [&decodings] { ++decodings; });
        QVERIFY(again->fromFile(archive, name, false));
        QCOMPARE(again->itemCount(), 20000u);
        QCOMPARE(again->at(19999)->imageInfo().width, static_cast<unsigned short>(8));
        QCOMPARE(decodings, 0);
        EmberPalette *palette = again->palettes()->at(0);
        for (uchar round = 0; round < 5; ++round) {
            palette->setColors(entries(Colors(256, 0xFF000000 | round)).constData(), 0);
            QCOMPARE(again->at(7)->image().pixel(1, 1), 0xFF000000 | round);
        }
        QCOMPARE(decodings, 1);
        again->at(7)->resetTexture();
        again->at(7)->image();
        QCOMPARE(decodings, 2);

        // What is kept is bounded: of 80 MB only the last 64.
        const QImage large(2048, 1024, QImage::Format_ARGB32);
        for (unsigned int i = 0; i < 10; ++i)
            again->at(i)->setImage(large);
        for (unsigned int i = 0; i < 10; ++i)
            again->at(i)->image();
        const int before = decodings;
        again->at(9)->image();
        QCOMPARE(decodings, before);
        again->at(0)->image();
        QCOMPARE(decodings, before + 1);
    }

    void texturesOnTheCard()
    {
        const SpritesPointer sprites(new EmberSprites);
        EmberSprite *sprite = sprites->insert(0, "a", picture(4, 4, 1, {0xFF000000, 0xFFFFFFFF}));
        Palette *palette = sprite->palette();
        QVERIFY(!sprite->texture().isValid() && !palette->texture().isValid());
        if (!Texture::hasContext())
            QSKIP("no OpenGL here");
        Texture::setOpenGLEnabled(true);
        QCOMPARE(sprite->texture().type(), Texture::TypeIndexed);
        QCOMPARE(palette->texture().type(), Texture::TypePalette);
        const unsigned int id = sprite->texture().id();
        int decodings = 0;
        connect(sprites->cache(), &StreamCache::readFilter, this, [&decodings] { ++decodings; });
        palette->setColors(entries(Colors(256, 5)).constData(), Palette::SetReplaced);
        QVERIFY(palette->texture().isOnCard());
        QCOMPARE(sprite->texture().id(), id); // the picture is not touched
        QCOMPARE(decodings, 0);
        sprite->setImage(picture(6, 2, 1, Colors(256, 5)));
        QCOMPARE(sprite->texture().size(), QSize(6, 2));
        sprites->undo();
        QCOMPARE(sprite->texture().size(), QSize(4, 4));
        Texture::setOpenGLEnabled(false);
        QVERIFY(!sprite->texture().isValid());
        Texture::setOpenGLEnabled(true);
        QVERIFY(sprite->texture().isOnCard() && palette->texture().isOnCard());

        EmberSprite *empty = sprites->insert(1, "empty", QImage());
        QVERIFY(!empty->texture().isOnCard());
        // Bounded like the decoded ones.
        QImage large(2048, 1024, QImage::Format_ARGB32);
        large.fill(0);
        QVector<const Texture *> textures;
        for (unsigned int i = 2; i < 12; ++i) {
            textures.append(&sprites->insert(i, "large", large)->texture());
            QVERIFY(textures.last()->isOnCard());
        }
        QCOMPARE(std::count_if(textures.cbegin(), textures.cend(),
                               [](const Texture *texture) { return texture->isOnCard(); }),
                 8);
        Texture::setOpenGLEnabled(false);
    }

    void cutOffAndDamaged()
    {
        const SpritesPointer sprites(new EmberSprites);
        Changer changer(*sprites, 3);
        while (sprites->itemCount() < 4 || sprites->palettes()->remapModel()->rowCount() == 0)
            changer.step();
        const QString name = file("good.gleam");
        QVERIFY(sprites->toFile(archive, name, false));
        const QByteArray good = readFile(name);
        for (int length = 0; length < good.size(); length += good.size() - length < 150 ? 1 : 61) {
            const SpritesPointer cut(new EmberSprites);
            cut->insert(0, "kept", QImage());
            QVERIFY2(!load(*cut, good.left(length)), qPrintable(QString::number(length)));
            QCOMPARE(m_told.contains("is damaged:"), length >= 4);
            QCOMPARE(cut->itemCount(), 1u);
        }
        std::mt19937 random(7);
        int loaded = 0;
        for (int round = 0; round < 200; ++round) {
            const SpritesPointer read(new EmberSprites);
            if (!load(*read, damaged(good, good.size() - 600, random)))
                continue;
            ++loaded;
            described(*read);
            QVERIFY(read->toFile(archive, name, true));
        }
        QVERIFY(loaded > 30);
    }

    void contentsThatDoNotFit()
    {
        EmberGleam::Entry short1;
        short1.kind = EmberGleam::Colors;
        short1.offset = EmberPack::headSize;
        short1.size = 4;
        EmberGleam::Entry huge;
        huge.offset = 16;
        huge.size = 2;
        huge.coder = EmberGleam::Runs;
        huge.info = {0xFFFF, 0xFFFF, QImage::Format_ARGB32, -1, 0, 0};
        EmberGleam::Entry lonely = huge;
        lonely.offset = 18;
        lonely.info = {4, 1, QImage::Format_Indexed8, 77, 0, 0};
        EmberGleam::Entry outside = lonely;
        outside.offset = 0xFFFFFF00;
        EmberGleam::Entry strange = lonely;
        strange.offset = 20;
        strange.info.format = 77;
        const QByteArray bytes =
            EmberPack::head(EmberGleam::magic, 5) + "1234" + "ab" + "\x44\x09" + "cd" +
            EmberPack::index<EmberGleam::PictureInfo>({short1, huge, lonely, strange, outside}, 22);
        const SpritesPointer sprites(new EmberSprites);
        QVERIFY(load(*sprites, bytes));
        QCOMPARE(sprites->itemCount(), 4u);
        QCOMPARE(sprites->palettes()->count(), 1u);
        QCOMPARE(sprites->palettes()->at(0)->colors()[0], RGBA());
        int decodings = 0;
        connect(sprites->cache(), &StreamCache::readFilter, this, [&decodings] { ++decodings; });
        for (int frame = 0; frame < 3; ++frame)
            QVERIFY(sprites->at(0)->image().isNull());
        QCOMPARE(decodings, 1); // a view asks for each frame
        QCOMPARE(sprites->at(1)->image().pixelIndex(3, 0), 9);
        QVERIFY(!sprites->at(1)->palette());
        QVERIFY(sprites->at(2)->image().isNull() && sprites->at(3)->image().isNull());
        QCOMPARE(sprites->messages()->count(Message::Error), 4u);
        // What cannot be decoded is not lost on saving.
        QCOMPARE(sprites->at(0)->data()->toData(true), QByteArray("ab"));
    }

    void sampleArt_data()
    {
        columns<QString>("name");
        for (const char *name : {"heroes/wren/wren", "heroes/moss/moss", "stages/harbour/harbour",
                                 "stages/rooftops/rooftops", "shared/effects"})
            addRow(name, QString(name) + ".gleam");
    }

    // The committed files are those that the program draws.
    void sampleArt()
    {
        QFETCH(QString, name);
        const QString program = KILN_BINARY_DIR "/bin/kiln-art";
        if (!QFileInfo(program).isExecutable())
            QSKIP("built without the program that draws");
        static const QTemporaryDir drawn; // once for all rows
        if (!QFileInfo::exists(drawn.filePath(name)))
            QCOMPARE(QProcess::execute(program, {"--pack", drawn.path()}), 0);
        const QString committed = KILN_SOURCE_DIR "/examples/hero/" + name;
        QVERIFY(!readFile(committed).isEmpty());
        QVERIFY2(readFile(committed) == readFile(drawn.filePath(name)),
                 "run kiln-art --pack examples/hero");
        const SpritesPointer sprites(new EmberSprites);
        QVERIFY(sprites->fromFile(archive, committed, false));
        QCOMPARE(sprites->messages()->count(Message::Error), 0u);
    }

    void aligned_data()
    {
        columns<int, QPoint, QPoint, QPoint, QString>("format", "from", "to", "extent", "pixels");
        const int indexed = QImage::Format_Indexed8;
        const QPoint one(1, 1);
        addRow("larger", indexed, one, QPoint(2, 2), QPoint(2, 1), "0000 0120 0340");
        addRow("cut off", indexed, one, QPoint(0, 0), QPoint(2, 1), "40");
        addRow("far outside", indexed, QPoint(INT_MIN, 9), QPoint(1, 1), QPoint(1, 0), "00");
        addRow("no canvas", indexed, one, QPoint(1, 1), QPoint(0, -1), "");
        addRow("too large", indexed, one, QPoint(INT_MAX, 1), QPoint(INT_MAX, 1), "");
        addRow("true colour", int(QImage::Format_ARGB32), QPoint(0, 0), QPoint(1, 0), QPoint(2, 2),
               "012 034");
    }

    void aligned()
    {
        auto [format, from, to, extent, pixels] = row<int, QPoint, QPoint, QPoint, QString>();
        QImage image(2, 2, QImage::Format(format));
        for (int i = 0; i < 4; ++i) {
            if (image.depth() == 8)
                image.scanLine(i / 2)[i % 2] = uchar(i + 1);
            else
                image.setPixel(i % 2, i / 2, QRgb(i + 1));
        }
        if (image.depth() == 8)
            image.setColorTable({1, 2, 3, 4, 5});
        const Bare sprite(image);
        const QImage result = sprite.aligned(from, to, extent);
        QString found;
        for (int y = 0; y < result.height(); ++y) {
            found += y > 0 ? QString(" ") : QString();
            for (int x = 0; x < result.width(); ++x)
                found += QString::number(result.depth() == 8 ? result.pixelIndex(x, y)
                                                             : int(result.pixel(x, y)));
        }
        QCOMPARE(found, pixels);
        if (!result.isNull())
            QCOMPARE(result.colorTable(), image.colorTable());
        QVERIFY(Bare(QImage()).aligned(from, to, extent).isNull());
    }

    void contract()
    {
        // A copy shares the handle and counts nothing.
        const SpritesPointer sprites(new EmberSprites);
        EmberSprite *sprite = sprites->insert(0, "a", picture(2, 2, 0, {1}));
        StreamCacheData *data = sprite->data();
        data->addRef();
        {
            Bare first(QImage(), data);
            Bare copy(first);
            QCOMPARE(copy.data(), data);
            QCOMPARE(data->refCount(), 2);
            Bare assigned{QImage()};
            static_cast<Sprite &>(assigned) = first;
            QCOMPARE(assigned.data(), data);
            copy.letGo();
            assigned.letGo();
        }
        QCOMPARE(data->refCount(), 1);
        QCOMPARE(sprite->propertyNames(), QStringList({"Identifier", "Origin"}));
        QCOMPARE(sprites->palettes()->at(0)->propertyNames(), QStringList{"Identifier"});
        QCOMPARE(sprites->itemAt(0), sprite);
        QCOMPARE(sprites->model(), sprites.get());
        QCOMPARE(sprites->at(1), nullptr);
        QCOMPARE(sprite->sprites(), sprites.get());
        QCOMPARE(sprites->palettes()->sprites(), sprites.get());
        const QMetaObject &meta = SpriteProvider::staticMetaObject;
        QCOMPARE(meta.indexOfSignal("changed()"), meta.methodOffset());
        QCOMPARE(meta.indexOfSignal("changedAt(uint)"), meta.methodOffset() + 1);
    }

private:
};

QTEST_MAIN(TestEmberSprites)

#include "tst_embersprites.moc"
