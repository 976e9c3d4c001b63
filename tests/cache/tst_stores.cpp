#include <kilnx/cache/crc64.h>
#include <kilnx/cache/crc64_p.h>
#include <kilnx/cache/diskcache.h>
#include <kilnx/cache/filecache.h>
#include <kilnx/cache/packedcache.h>
#include <tests/support/fulldisk.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

#include <memory>
#include <random>

#include <unistd.h>

using namespace Kiln;

namespace
{

unsigned long long crcOf(const QByteArray &data)
{
    return crc64(data.constData(), static_cast<unsigned int>(data.size()));
}

// The plain method, one bit at a time.
quint64 plainCrc(const uchar *data, size_t length)
{
    quint64 crc = 0xFFFFFFFFFFFFFFFF;
    for (size_t i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0x95AC9329AC4BC9B5 : crc >> 1;
    }
    return crc;
}

// Both ways of the library, whichever of them this processor takes.
bool isRight(const uchar *data, unsigned int length)
{
    const quint64 expected = plainCrc(data, length);
    return crc64(data, length) == expected && Kiln::crc64ByTables(data, length) == expected;
}

// Three toy coders, by the filter modulo 4. 1 turns the bytes over. 2 puts a running number in
// front, so that equal data have different raw forms. 3 knows only data of an even size. 0 is none.
class Coder : public QObject
{
public:
    explicit Coder(const StreamCache &cache)
    {
        connect(&cache, &StreamCache::readFilter, this, &Coder::decode);
        connect(&cache, &StreamCache::writeFilter, this, &Coder::encode);
    }

    void encode(unsigned char filter, void *, const QByteArray &in, QByteArray &out)
    {
        if (filter % 4 == 1)
            std::reverse_copy(in.begin(), in.end(), std::back_inserter(out));
        else if (filter % 4 == 2)
            out = char(++m_salt) + in;
        else if (filter % 4 == 3 && in.size() % 2 == 0)
            out = 'E' + in;
    }

    void decode(unsigned char filter, void *, const QByteArray &in, QByteArray &out)
    {
        ++decodings;
        if (filter % 4 == 1)
            std::reverse_copy(in.begin(), in.end(), std::back_inserter(out));
        else if (filter % 4 == 2)
            out = in.mid(1);
        else if (filter % 4 == 3 && in.startsWith('E') && in.size() % 2 == 1)
            out = in.mid(1);
    }

    int decodings = 0;

private:
    unsigned char m_salt = 0;
};

// What the plain map says of one item.
struct Expected {
    StreamCache::Item *item = nullptr;
    unsigned char filter = 0;
    QByteArray stored;
    QByteArray decoded;
    QString file; ///< of a FileCache
};

// Applies random operations to a store and to a list of plain records, and compares after each.
class Run
{
public:
    Run(StreamCache &cache, bool withCoder, unsigned int seed)
        : m_cache(cache)
        , m_random(seed)
        , m_model(withCoder ? std::make_unique<Coder>(m_silent) : nullptr)
        , m_coder(withCoder ? std::make_unique<Coder>(cache) : nullptr)
    {
    }
    virtual ~Run() = default;

    QString go(int operations)
    {
        for (int i = 0; i < operations && m_fault.isEmpty(); ++i) {
            step();
            checkSome();
        }
        for (const Expected &expected : m_items)
            check(expected);
        return m_fault;
    }

protected:
    virtual Expected add()
    {
        const auto filter = static_cast<unsigned char>(below(5));
        const QByteArray data = randomData();
        Expected expected = expectedFor(data, filter);
        const unsigned long long crc = crcOrNone(expected);
        expected.item = m_cache.addItem(data, filter, &m_items, crc);
        checkCrc(expected, crc);
        return expected;
    }
    virtual void replace(Expected &expected)
    {
        const auto filter = static_cast<unsigned char>(below(5));
        const QByteArray data = randomData();
        StreamCache::Item *item = expected.item;
        expected = expectedFor(data, filter);
        expected.item = item;
        const unsigned long long crc = crcOrNone(expected);
        m_cache.setItemData(item, data, filter, &m_items, crc);
        checkCrc(expected, crc);
    }
    // What only this kind of store can do.
    virtual void special(Expected &) {}
    virtual QByteArray rawForm(const Expected &expected) const
    {
        return expected.filter == 0 ? expected.decoded : expected.stored;
    }
    virtual void check(const Expected &expected)
    {
        require(m_cache.itemData(expected.item) == expected.decoded, "itemData");
        require(m_cache.itemRawData(expected.item) == rawForm(expected), "itemRawData");
        require(expected.item->filter == expected.filter, "filter");
        require((expected.item->storedSize() == 0) == expected.stored.isEmpty(), "storedSize");
        const unsigned long long crc = expected.item->crc();
        require(crc == 0 || crc == crcOf(expected.decoded), "checksum");
        if (expected.file.isEmpty())
            require(expected.item->param == &m_items, "param");
    }

    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    void require(bool condition, const char *what)
    {
        if (!condition && m_fault.isEmpty())
            m_fault = QString::fromLatin1("%1, with %2 items")
                          .arg(QLatin1String(what))
                          .arg(m_items.size());
    }

    // Few different values of few sizes, so that equal items come up.
    QByteArray randomData()
    {
        static const int sizes[] = {0, 1, 2, 3, 8, 9, 500, 501, 20000};
        QByteArray data(sizes[below(9)], Qt::Uninitialized);
        std::mt19937 content(static_cast<unsigned>(below(3)));
        for (char &byte : data)
            byte = static_cast<char>(content() % 7);
        return data;
    }
    QByteArray encoded(const QByteArray &data, unsigned char filter)
    {
        QByteArray out;
        if (m_model)
            m_model->encode(filter, nullptr, data, out);
        return out;
    }
    QByteArray decoded(const QByteArray &data, unsigned char filter)
    {
        QByteArray out;
        if (m_model)
            m_model->decode(filter, nullptr, data, out);
        return out;
    }
    unsigned long long crcOrNone(const Expected &expected)
    {
        return below(2) ? crcOf(expected.decoded) : 0;
    }
    static QByteArray orElse(const QByteArray &data, const QByteArray &other)
    {
        return data.isEmpty() ? other : data;
    }

    StreamCache &m_cache;

private:
    // Only that of plain bytes is computed when they are stored.
    void checkCrc(const Expected &expected, unsigned long long given)
    {
        const bool computed = given == 0 && expected.filter == 0;
        require(expected.item->crc() == (computed ? crcOf(expected.decoded) : given),
                "checksum of a stored item");
    }

    Expected expectedFor(const QByteArray &data, unsigned char filter)
    {
        Expected expected;
        expected.filter = filter;
        expected.stored = orElse(encoded(data, filter), data);
        expected.decoded = orElse(decoded(expected.stored, filter), expected.stored);
        return expected;
    }

    void step()
    {
        const int kind = below(100);
        if (kind < 40 || m_items.isEmpty()) {
            m_items.append(add());
        } else if (kind < 60) {
            replace(m_items[below(m_items.size())]);
        } else if (kind < 70) {
            special(m_items[below(m_items.size())]);
        } else if (kind < 87) {
            m_cache.removeItem(m_items.takeAt(below(m_items.size())).item);
        } else if (kind < 99) {
            compareSearches(below(2) ? randomData() : m_items[below(m_items.size())].decoded);
        } else {
            m_cache.clear();
            m_items.clear();
        }
    }

    // The linear scan is the contract of `find`.
    void compareSearches(const QByteArray &data)
    {
        StreamCache::Item *exclude = below(2) ? m_items[below(m_items.size())].item : nullptr;
        StreamCache::Item *first = nullptr;
        for (int i = 0; i < m_items.size() && !first && !data.isEmpty(); ++i) {
            if (m_items[i].item != exclude && m_items[i].decoded == data)
                first = m_items[i].item;
        }
        require(m_cache.find(data, exclude) == first, "find");

        const Expected &a = m_items[below(m_items.size())];
        const Expected &b = m_items[below(m_items.size())];
        require(m_cache.isEqual(a.item, data, crcOf(data)) ==
                    (!data.isEmpty() && a.decoded == data),
                "isEqual to data");
        const bool raw = a.item->crc() && b.item->crc() && a.filter == b.filter;
        const QByteArray bytes = raw ? rawForm(a) : a.decoded;
        const bool equal = !bytes.isEmpty() && bytes == (raw ? rawForm(b) : b.decoded);
        const bool sameCrc = crcOf(a.decoded) == crcOf(b.decoded);
        require(m_cache.isEqual(a.item, b.item) == (sameCrc && equal), "isEqual of items");
    }

    void checkSome()
    {
        QList<StreamCache::Item *> list;
        for (const Expected &expected : qAsConst(m_items))
            list.append(expected.item);
        require(m_cache.items() == list, "order of the list");
        if (!m_items.isEmpty())
            check(m_items[below(m_items.size())]);
        if (!m_items.isEmpty() && below(10) == 0)
            check(m_items.last());
    }

    MemoryCache m_silent;
    std::mt19937 m_random;
    std::unique_ptr<Coder> m_model;
    std::unique_ptr<Coder> m_coder;
    QList<Expected> m_items;
    QString m_fault;
};

// The same on files of a directory. The suffix gives the filter for good, nothing stands in for
// what no coder decodes, and a file can be missing: then its item is empty.
class FileRun : public Run
{
public:
    FileRun(FileCache &cache, bool withCoder, unsigned int seed)
        : Run(cache, withCoder, seed)
        , m_files(cache)
    {
    }

private:
    QString randomName()
    {
        static const char *const suffixes[] = {"bin", "png", "PCX", "gif", "Act"};
        return m_directory.filePath(
            QString("%1.%2").arg(++m_lastNumber).arg(QLatin1String(suffixes[below(5)])));
    }
    static bool isWritable(const Expected &expected)
    {
        return QFileInfo(expected.file).dir().exists();
    }

    Expected add() override
    {
        Expected expected;
        expected.file = randomName();
        const QString suffix = QFileInfo(expected.file).suffix().toLower();
        const bool withParam = below(2);
        expected.filter = QHash<QString, unsigned char>{
            {QString("png"), 4},
            {QString("pcx"), 5},
            {QString("gif"), withParam ? 6 : 8},
            {QString("act"),
             7}}.value(suffix);
        if (below(4)) {
            expected.stored = below(2) ? randomData() : 'E' + randomData();
            expected.decoded = decoded(expected.stored, expected.filter);
            QFile file(expected.file);
            require(file.open(QIODevice::WriteOnly) &&
                        file.write(expected.stored) == expected.stored.size(),
                    "the test's own writing");
        }
        expected.item = m_cache.addItem(expected.file.toLocal8Bit(), 99, withParam ? this : nullptr,
                                        crcOrNone(expected));
        require(expected.item->storedSize() == expected.stored.size(), "size of a new item");
        return expected;
    }
    void replace(Expected &expected) override
    {
        static const unsigned char others[] = {0, 5, 6, 7};
        const unsigned char filter = below(2) ? expected.filter : others[below(4)];
        const QByteArray data = randomData();
        const bool isDecoded = filter == 0 || filter == expected.filter;
        const QByteArray plain = isDecoded ? data : orElse(decoded(data, filter), data);
        const QByteArray stored = orElse(encoded(plain, filter), plain);
        if (isWritable(expected)) {
            expected.stored = stored;
            expected.decoded = decoded(stored, expected.filter);
        }
        m_cache.setItemData(expected.item, data, filter, nullptr, crcOrNone(expected));
        require(!isWritable(expected) || expected.item->storedSize() == stored.size(), "new size");
    }
    void special(Expected &expected) override
    {
        if (below(3) == 0) {
            m_files.deleteItem(expected.item);
            expected.stored = expected.decoded = QByteArray();
            return;
        }
        const bool fails = below(4) == 0;
        const QString name = fails ? m_directory.filePath(QString("none/a.png")) : randomName();
        m_files.renameItem(expected.item, name);
        require(fails || !QFile::exists(expected.file), "renameItem");
        expected.file = name;
        if (fails)
            expected.stored = expected.decoded = QByteArray();
    }
    QByteArray rawForm(const Expected &expected) const override { return expected.stored; }
    void check(const Expected &expected) override
    {
        require(m_files.fileName(expected.item) == expected.file, "fileName");
        require(m_files.itemIsValid(expected.item) == !expected.stored.isEmpty(), "itemIsValid");
        require(expected.item->storedSize() == expected.stored.size(), "size of the file");
        if (expected.filter == 8)
            require(*static_cast<QString *>(expected.item->param) == expected.file, "param");
        // The checksum of a file that has gone is not looked for.
        if (!expected.stored.isEmpty())
            Run::check(expected);
        else
            require(m_cache.itemData(expected.item).isEmpty(), "itemData of no file");
    }

    FileCache &m_files;
    QTemporaryDir m_directory;
    int m_lastNumber = 0;
};

QString randomRun(const QByteArray &kind, bool withCoder, unsigned int seed, int operations)
{
    if (kind == "file") {
        FileCache cache;
        return FileRun(cache, withCoder, seed).go(operations);
    }
    if (kind == "memory") {
        MemoryCache cache;
        return Run(cache, withCoder, seed).go(operations);
    }
    DiskCache cache(kind.toInt());
    return Run(cache, withCoder, seed).go(operations);
}

qint64 residentBytes()
{
    QFile file(QString("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

} // namespace

class TestStores : public QObject
{
    Q_OBJECT

private slots:
    void crcOfKnownValues()
    {
        QCOMPARE(crc64(nullptr, 0), Q_UINT64_C(0xFFFFFFFFFFFFFFFF));
        QCOMPARE(crc64("123456789", 9), Q_UINT64_C(0xCAA717168609F281));
        QCOMPARE(crc64("\xff\xff\xff\xff\xff\xff\xff\xff", 8), Q_UINT64_C(0));
    }

    // 300 bytes pass the lengths at which the method changes: 16, 64, and whole multiples of them.
    void crcOfEveryShortLengthAndAlignment()
    {
        std::mt19937 random(1);
        std::vector<uchar> bytes(300 + 16);
        for (uchar &byte : bytes)
            byte = static_cast<uchar>(random());
        for (unsigned int length = 0; length <= 300; ++length) {
            for (int start = 0; start < 16; ++start) {
                // A copy of exact length lets the sanitizer see a read past the end.
                const std::vector<uchar> exact(&bytes[start], &bytes[start] + length);
                QVERIFY(isRight(exact.data(), length));
                QVERIFY(isRight(&bytes[start], length));
            }
        }
    }

    void crcOfRandomLengths()
    {
        std::mt19937 random(2);
        for (int round = 0; round < 100; ++round) {
            std::vector<uchar> bytes(random() % 200000);
            for (uchar &byte : bytes)
                byte = static_cast<uchar>(random());
            QVERIFY(isRight(bytes.data(), static_cast<unsigned int>(bytes.size())));
        }
    }

    void followsAPlainMap_data()
    {
        columns<QByteArray, bool>("kind", "withCoder");
        // The sizes of blocks: smaller than any item, odd, and larger than the file.
        for (const char *kind : {"memory", "1", "333", "33554432", "file"}) {
            QTest::addRow("%s, with coders", kind) << QByteArray(kind) << true;
            QTest::addRow("%s, without coders", kind) << QByteArray(kind) << false;
        }
    }

    void followsAPlainMap()
    {
        auto [kind, withCoder] = row<QByteArray, bool>();
        // A block of one byte costs a million system calls for each run, and files truncated to be
        // written anew are waited for.
        const unsigned int seeds = kind == "1" ? 2 : kind == "file" ? 10 : 40;
        const int operations = kind == "1" ? 60 : 300;
        for (unsigned int seed = 1; seed <= seeds; ++seed) {
            const QString fault = randomRun(kind, withCoder, seed, operations);
            QVERIFY2(fault.isEmpty(), qPrintable(QString("seed %1: %2").arg(seed).arg(fault)));
        }
    }

    void factoryFollowsTheOption_data()
    {
        columns<int, QVariant, int>("wanted", "option", "made");
        addRow("unset option", 0, QVariant(), 1);
        addRow("option 0", 0, QVariant(0), 1);
        addRow("option 1", 0, QVariant(1), 1);
        addRow("option 2", 0, QVariant(2), 2);
        addRow("option 3 is still a disk", 0, QVariant(3), 2);
        addRow("memory, whatever the option", 1, QVariant(2), 1);
        addRow("disk", 2, QVariant(1), 2);
        addRow("file", 3, QVariant(), 3);
        addRow("no such type", 4, QVariant(), -1);
        addRow("negative type", -1, QVariant(), -1);
    }

    void factoryFollowsTheOption()
    {
        auto [wanted, option, made] = row<int, QVariant, int>();
        TestHost host;
        host.options.insert(QString("cache_type"), option);
        StreamCache *cache = StreamCache::instance(static_cast<StreamCache::Type>(wanted));
        QCOMPARE(cache ? int(cache->type()) : -1, made);
        if (cache)
            cache->release();
    }

    void memoryWithoutAHost()
    {
        const std::unique_ptr<StreamCache> cache(StreamCache::instance(StreamCache::Default));
        QVERIFY(!Interface::instance());
        QCOMPARE(cache->type(), StreamCache::Memory);
    }

    void findsTheFirstAndDecodesOnce()
    {
        MemoryCache cache;
        Coder coder(cache);
        QList<StreamCache::Item *> items;
        for (int i = 0; i < 50; ++i)
            items.append(cache.addItem("item " + QByteArray::number(i % 25), 1, nullptr, 0));
        for (int i = 0; i < 25; ++i) {
            const QByteArray data = "item " + QByteArray::number(i);
            QCOMPARE(cache.find(data, nullptr), items[i]);
            QCOMPARE(cache.find(data, items[i]), items[i + 25]);
        }
        // The second half is looked at because its first half is excluded. Each checksum costs one
        // decoding, and each candidate of the right checksum at most one more.
        QVERIFY2(coder.decodings <= 50 + 3 * 25, qPrintable(QString::number(coder.decodings)));
        QCOMPARE(cache.find("item", nullptr), nullptr);

        cache.addItem(QByteArray(), 0, nullptr, 0);
        QCOMPARE(cache.find(QByteArray(), nullptr), nullptr);

        // Their checksum is 0, which also stands for an unknown one.
        const QByteArray zero(8, '\xff');
        StreamCache::Item *item = cache.addItem(zero, 0, nullptr, 0);
        QCOMPARE(cache.find(zero, nullptr), item);
        QVERIFY(cache.isEqual(item, item) && cache.isEqual(item, zero, 0));
    }

    void rawFormsDecideWhenChecksumsAreKnown()
    {
        MemoryCache cache;
        Coder coder(cache);
        const QByteArray data("the same");
        const unsigned long long crc = crcOf(data);
        StreamCache::Item *first = cache.addItem(data, 2, nullptr, crc);
        StreamCache::Item *second = cache.addItem(data, 2, nullptr, crc);
        StreamCache::Item *unknown = cache.addItem(data, 2, nullptr, 0);
        StreamCache::Item *plain = cache.addItem(data, 0, nullptr, crc);
        auto *large =
            static_cast<PackedCache::Item *>(cache.addItem(QByteArray(1000, 'x'), 0, nullptr, 0));
        QCOMPARE(large->size, 1000);
        QVERIFY(large->packedSize > 0 && large->packedSize < 100);
        cache.setItemData(large, QByteArray(), 0, nullptr, 0);
        QCOMPARE(qMakePair(large->size, large->packedSize), qMakePair(0, 0));
        QVERIFY(!cache.isEqual(first, second));
        QVERIFY(cache.isEqual(first, plain));
        QVERIFY(cache.isEqual(first, unknown));
        QVERIFY(!cache.isEqual(second, unknown)); // it is known by now
        QVERIFY(cache.isEqual(first, first));
        QVERIFY(!cache.isEqual(first, nullptr));
    }

    // The array that is stored only refers to bytes that change afterwards.
    void keepsBytesOfItsOwn()
    {
        MemoryCache memory;
        DiskCache disk;
        for (StreamCache *cache :
             {static_cast<StreamCache *>(&memory), static_cast<StreamCache *>(&disk)}) {
            for (const unsigned char filter : {0, 9}) {
                char buffer[] = "before";
                const QByteArray data = QByteArray::fromRawData(buffer, 6);
                StreamCache::Item *added = cache->addItem(data, filter, nullptr, 0);
                StreamCache::Item *changed = cache->addItem("x", filter, nullptr, 0);
                cache->setItemData(changed, data, filter, nullptr, 0);
                memcpy(buffer, "behind", 6);
                QCOMPARE(cache->itemData(added), QByteArray("before"));
                QCOMPARE(cache->itemData(changed), QByteArray("before"));
            }
        }
    }

    void suffixGivesTheFilter_data()
    {
        columns<QString, bool, int>("name", "withParam", "filter");
        addRow("gif with a parameter", "a.gif", true, 6);
        addRow("gif without a parameter", "a.GIF", false, 8);
        addRow("the last suffix counts", "a.png.bmp", false, 0);
        addRow("no suffix", "png", false, 0);
        addRow("a name beyond ASCII", QString::fromUtf8("gr\u00f6\u00dfe.png"), false, 4);
    }

    void suffixGivesTheFilter()
    {
        auto [name, withParam, filter] = row<QString, bool, int>();
        const QTemporaryDir directory;
        name = directory.filePath(name);
        FileCache cache;
        void *const param = withParam ? this : nullptr;
        StreamCache::Item *item = cache.addItem(name.toLocal8Bit(), 99, param, 5);
        QCOMPARE(int(item->filter), filter);
        QCOMPARE(item->crc(), 5ull);
        QCOMPARE(cache.fileName(item), name);
        if (filter == 8)
            QCOMPARE(*static_cast<QString *>(item->param), name);
        else
            QCOMPARE(item->param, param);

        // What the coder is handed: the item's parameter to read, the one given to write.
        void *read = nullptr;
        void *written = nullptr;
        const auto note = [](void *&to) {
            return [&to](unsigned char, void *handed, const QByteArray &, QByteArray &) {
                to = handed;
            };
        };
        connect(&cache, &StreamCache::readFilter, this, note(read));
        connect(&cache, &StreamCache::writeFilter, this, note(written));
        cache.setItemData(item, "bytes", 99, &cache, 0);
        QCOMPARE(read, &cache);
        QCOMPARE(written, &cache);
        cache.renameItem(item, directory.filePath(QString("renamed")));
        cache.itemData(item);
        QCOMPARE(read, item->param);
        if (filter == 8)
            QCOMPARE(*static_cast<QString *>(read), cache.fileName(item));
        else
            QCOMPARE(read, param);
    }

    void noItemHasNothing()
    {
        MemoryCache memory;
        DiskCache disk;
        FileCache files;
        for (StreamCache *cache : std::initializer_list<StreamCache *>{&memory, &disk, &files}) {
            StreamCache::Item *item = cache->addItem("data", 3, nullptr, 0);
            cache->setItemData(nullptr, "none", 3, nullptr, 0);
            cache->removeItem(nullptr);
            QCOMPARE(cache->itemData(nullptr) + cache->itemRawData(nullptr), QByteArray());
            QVERIFY(!cache->isEqual(nullptr, "data", 0));
            if (cache == &files)
                continue;
            cache->setItemData(item, "other", 4, this, 0);
            QCOMPARE(item->param, static_cast<void *>(this));
            QCOMPARE(int(item->filter), 4);
            QCOMPARE(cache->items(), QList<StreamCache::Item *>{item});
        }
        QVERIFY(!files.itemIsValid(nullptr));
        files.renameItem(nullptr, QString("none"));
        files.deleteItem(nullptr);
        QCOMPARE(files.fileName(nullptr), QString());
        QCOMPARE(files.items().size(), 1);
    }

    void withoutATemporaryFile()
    {
        const QByteArray before = qgetenv("TMPDIR");
        qputenv("TMPDIR", "/proc");
        DiskCache cache;
        qputenv("TMPDIR", before);
        StreamCache::Item *item = cache.addItem("data", 0, nullptr, 0);
        StreamCache::Item *next = cache.addItem("more data", 3, nullptr, 0);
        cache.setItemData(item, QByteArray(1000, 'x'), 3, nullptr, 0);
        QCOMPARE(cache.itemData(item), QByteArray());
        QCOMPARE(cache.itemRawData(next), QByteArray());
        QCOMPARE(cache.find("data", nullptr), nullptr);
        cache.removeItem(item);
        QCOMPARE(cache.items().size(), 1);
    }

    void fullDiskKeepsTheOtherItems()
    {
        DiskCache cache(100);
        QList<StreamCache::Item *> items;
        for (int i = 0; i < 4; ++i)
            items.append(cache.addItem(QByteArray(1000, char('a' + i)), 9, nullptr, 0));
        {
            const FullDisk full(4500);
            cache.setItemData(items[2], QByteArray(1100, 'C'), 9, nullptr, 0); // needs no more
            QCOMPARE(cache.itemData(items[2]), QByteArray(1100, 'C'));
            cache.setItemData(items[2], QByteArray(1000, 'c'), 9, nullptr, 0);
            cache.setItemData(items[1], QByteArray(2000, 'B'), 9, nullptr, 0);
            StreamCache::Item *small = cache.addItem(QByteArray(400, 'g'), 9, nullptr, 0);
            QCOMPARE(cache.itemData(small), QByteArray(400, 'g')); // what it tried is given back
            cache.removeItem(small);
            items.append(cache.addItem(QByteArray(1000, 'e'), 9, nullptr, 0));
            cache.setItemData(items[3], QByteArray(3000, 'D'), 9, nullptr, 0);
        }
        const QByteArray kept[] = {QByteArray(1000, 'a'), "", QByteArray(1000, 'c'), "", ""};
        for (int i = 0; i < 5; ++i)
            QCOMPARE(cache.itemData(items[i]), kept[i]);

        cache.setItemData(items[1], QByteArray(1500, 'B'), 9, nullptr, 0);
        items.append(cache.addItem(QByteArray(10, 'f'), 9, nullptr, 0));
        QCOMPARE(cache.itemData(items[0]), kept[0]);
        QCOMPARE(cache.itemData(items[1]), QByteArray(1500, 'B'));
        QCOMPARE(cache.itemData(items[2]), kept[2]);
        QCOMPARE(cache.itemData(items[5]), QByteArray(10, 'f'));
    }

    void blockIsNotTouchedUnused()
    {
        const qint64 before = residentBytes();
        QVERIFY(before > 0);
        std::vector<std::unique_ptr<DiskCache>> caches;
        for (int i = 0; i < 8; ++i) {
            caches.push_back(std::make_unique<DiskCache>());
            caches.back()->addItem(QByteArray(1000, 'x'), 0, nullptr, 0);
        }
        QVERIFY(residentBytes() - before < 4ll * DiskCache::defaultBlockSize);
    }
};

QTEST_MAIN(TestStores)

#include "tst_stores.moc"
