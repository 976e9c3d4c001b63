#include <kilnx/cache/crc64.h>
#include <kilnx/cache/filecache.h>
#include <kilnx/cache/streamcachedata.h>

#include <QtTest/QtTest>

using namespace Kiln;

namespace
{

void writeFile(const QString &name, const QByteArray &data)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
}

QByteArray readFile(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A coder that writes its number in front, and decodes only what carries its number.
void connectNumberCoder(const FileCache &cache, QObject *context)
{
    QObject::connect(&cache, &StreamCache::readFilter, context,
                     [](unsigned char filter, void *, const QByteArray &in, QByteArray &out) {
                         if (in.startsWith(char('0' + filter)))
                             out = in.mid(1);
                     });
    QObject::connect(&cache, &StreamCache::writeFilter, context,
                     [](unsigned char filter, void *, const QByteArray &in, QByteArray &out) {
                         out = char('0' + filter) + in;
                     });
}

struct Handle : StreamCacheData {
    using StreamCacheData::StreamCacheData;
    StreamCacheData *copyTo(StreamCache *target) const override
    {
        return new Handle(target, fileName());
    }
};

} // namespace

class TestFileCache : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void suffixGivesTheFilter_data();
    void suffixGivesTheFilter();
    void paramFollowsRenaming();
    void readsThroughTheCoder();
    void writesThroughTheCoder();
    void missingFiles();
    void handleOnAFile();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QByteArray encoded(const QString &name) const { return path(name).toLocal8Bit(); }

    QScopedPointer<QTemporaryDir> m_directory;
};

void TestFileCache::init()
{
    m_directory.reset(new QTemporaryDir);
    QVERIFY(m_directory->isValid());
}

void TestFileCache::suffixGivesTheFilter_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("withParam");
    QTest::addColumn<int>("filter");
    QTest::newRow("png") << "a.png" << false << 4;
    QTest::newRow("capitals") << "a.PNG" << false << 4;
    QTest::newRow("mixed case") << "a.pCx" << false << 5;
    QTest::newRow("gif with a parameter") << "a.gif" << true << 6;
    QTest::newRow("gif without a parameter") << "a.GIF" << false << 8;
    QTest::newRow("act") << "a.act" << false << 7;
    QTest::newRow("the last suffix counts") << "a.png.bmp" << false << 0;
    QTest::newRow("no suffix") << "png" << false << 0;
    QTest::newRow("a name beyond ASCII") << QString::fromUtf8("gr\u00f6\u00dfe.png") << false << 4;
}

void TestFileCache::suffixGivesTheFilter()
{
    QFETCH(QString, name);
    QFETCH(bool, withParam);
    QFETCH(int, filter);
    FileCache cache;
    void *const param = withParam ? this : nullptr;
    StreamCache::Item *item = cache.addItem(encoded(name), 99, param, 5);
    QCOMPARE(int(item->filter), filter);
    QCOMPARE(item->crc(), 5ull);
    QCOMPARE(cache.fileName(item), path(name));
    if (filter == 8)
        QCOMPARE(*static_cast<QString *>(item->param), path(name));
    else
        QCOMPARE(item->param, param);
}

void TestFileCache::paramFollowsRenaming()
{
    FileCache cache;
    writeFile(path("old.gif"), "x");
    StreamCache::Item *item = cache.addItem(encoded("old.gif"), 0, nullptr, 0);
    cache.renameItem(item, path("new.gif"));
    QCOMPARE(*static_cast<QString *>(item->param), path("new.gif"));
    QVERIFY(!QFile::exists(path("old.gif")));
    QCOMPARE(cache.itemRawData(item), QByteArray("x"));

    // The target's directory is missing: the file stays, the item is renamed all the same.
    cache.renameItem(item, path("none/new.gif"));
    QCOMPARE(cache.fileName(item), path("none/new.gif"));
    QVERIFY(QFile::exists(path("new.gif")));
    QVERIFY(!cache.itemIsValid(item));
}

void TestFileCache::readsThroughTheCoder()
{
    FileCache cache;
    writeFile(path("a.png"), "4picture");
    StreamCache::Item *item = cache.addItem(encoded("a.png"), 0, nullptr, 0);
    QCOMPARE(cache.itemRawData(item), QByteArray("4picture"));
    QCOMPARE(cache.itemData(item), QByteArray());
    QCOMPARE(cache.find("picture", nullptr), nullptr);

    connectNumberCoder(cache, this);
    FileCache fresh;
    connectNumberCoder(fresh, this);
    item = fresh.addItem(encoded("a.png"), 0, nullptr, 0);
    QCOMPARE(fresh.itemData(item), QByteArray("picture"));
    QCOMPARE(fresh.find("picture", nullptr), item);
    QCOMPARE(item->crc(), crc64("picture", 7));
}

void TestFileCache::writesThroughTheCoder()
{
    FileCache cache;
    StreamCache::Item *item = cache.addItem(encoded("a.png"), 0, nullptr, 77);
    QCOMPARE(item->storedSize(), 0);
    cache.setItemData(item, "plain", 0, nullptr, 0);
    QCOMPARE(readFile(path("a.png")), QByteArray("plain"));
    QCOMPARE(item->crc(), 0ull); // the old checksum is not that of the new bytes
    QCOMPARE(item->storedSize(), 5);

    connectNumberCoder(cache, this);
    cache.setItemData(item, "own filter", 4, nullptr, 12);
    QCOMPARE(readFile(path("a.png")), QByteArray("4own filter"));
    QCOMPARE(item->crc(), 12ull);
    cache.setItemData(item, "5other filter", 5, nullptr, 0);
    QCOMPARE(readFile(path("a.png")), QByteArray("5other filter"));
    cache.setItemData(item, "undecodable", 6, nullptr, 0);
    QCOMPARE(readFile(path("a.png")), QByteArray("6undecodable"));
    QCOMPARE(int(item->filter), 4);
}

void TestFileCache::missingFiles()
{
    FileCache cache;
    StreamCache::Item *item = cache.addItem(encoded("none/a.png"), 0, nullptr, 0);
    QVERIFY(!cache.itemIsValid(item));
    QCOMPARE(cache.itemRawData(item), QByteArray());
    cache.setItemData(item, "data", 0, nullptr, 0);
    QVERIFY(!QFile::exists(path("none/a.png")));

    StreamCache::Item *later = cache.addItem(encoded("later.bin"), 0, nullptr, 0);
    writeFile(path("later.bin"), "now");
    QVERIFY(cache.itemIsValid(later));
    cache.deleteItem(later);
    QVERIFY(!QFile::exists(path("later.bin")));
    QCOMPARE(cache.items().size(), 2);
    QCOMPARE(cache.itemData(nullptr), QByteArray());
}

void TestFileCache::handleOnAFile()
{
    FileCache cache;
    writeFile(path("b.pcx"), "5bytes");
    Handle handle(&cache, path("b.pcx"));
    QCOMPARE(handle.fileName(), path("b.pcx"));
    QVERIFY(!handle.isEmpty());
    QCOMPARE(handle.toData(true), QByteArray("5bytes"));
    handle.reset();
    QVERIFY(QFile::exists(path("b.pcx")));
}

QTEST_APPLESS_MAIN(TestFileCache)

#include "tst_filecache.moc"
