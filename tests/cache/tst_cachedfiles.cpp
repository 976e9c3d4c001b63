#include <kilnx/cache/cachedprojectfile.h>
#include <kilnx/cache/crc64.h>
#include <kilnx/cache/filecache.h>
#include <kilnx/cache/packedcache.h>
#include <kilnx/cache/streamcachedata.h>
#include <kilnx/code/messages.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <memory>

using namespace Kiln;

namespace
{

// The plain handle: nothing beside the bytes.
struct Handle : StreamCacheData {
    using StreamCacheData::StreamCacheData;
    StreamCacheData *copyTo(StreamCache *target) const override
    {
        if (target->type() == StreamCache::File)
            return new Handle(target, fileName());
        auto *copy = new Handle(target);
        copy->fromData(toData(false), filter(), nullptr, crc());
        return copy;
    }
};

class Item : public CachedPropertyItem
{
public:
    explicit Item(const QString &identifier, StreamCacheData *data = nullptr)
        : CachedPropertyItem(data)
        , identifier(identifier)
    {
    }
    QStringList propertyNames() override { return {QString("Identifier")}; }
    QVariant property(const QString &name) override
    {
        return name == QLatin1String("Identifier") ? QVariant(identifier) : QVariant();
    }
    void setProperty(const QString &name, const QVariant &value) override
    {
        if (name == QLatin1String("Identifier"))
            identifier = value.toString();
    }

    QString identifier;
};

// A container of the names given; an empty name stands for a missing item.
class Container : public SearchableCachedProjectFile
{
public:
    explicit Container(const QStringList &names, StreamCache *cache = nullptr)
        : SearchableCachedProjectFile(cache)
    {
        for (const QString &name : names)
            m_items.push_back(name.isEmpty() ? nullptr : std::make_unique<Item>(name));
    }
    unsigned int itemCount() const override { return static_cast<unsigned int>(m_items.size()); }
    PropertyItem *itemAt(unsigned int index) const override
    {
        ++asked;
        return index < m_items.size() ? m_items[index].get() : nullptr;
    }
    bool isEmpty() const override { return m_items.empty(); }
    void beginChange() override { brackets += '('; }
    void endChange() override { brackets += ')'; }
    void release() override { delete this; }

    QStringList names() const
    {
        QStringList list;
        for (const auto &item : m_items)
            list.append(item ? item->identifier : QString());
        return list;
    }

    mutable int asked = 0;
    QByteArray brackets;

private:
    std::vector<std::unique_ptr<Item>> m_items;
};

using ContainerPointer = std::unique_ptr<Container, Release>;

// One result as text: "item:start+length text (captures)".
QStringList described(const QList<ProjectFile::SearchResult> &results)
{
    QStringList list;
    for (const ProjectFile::SearchResult &result : results)
        list.append(QString::asprintf("%u:%u+%u ", result.line, result.start, result.length) +
                    result.text + " (" + result.captured.join('|') + ')');
    return list;
}

} // namespace

class TestCachedFiles : public QObject
{
    Q_OBJECT

private slots:
    void handleLivesAndDies()
    {
        MemoryCache cache;
        auto *handle = new Handle(&cache);
        QVERIFY(handle->isEmpty());
        QVERIFY(!handle->isEqualToData("data", crc64("data", 4)));
        QVERIFY(!handle->isEqualToData(QByteArray(), 0));
        QCOMPARE(handle->toData(false), QByteArray());
        QCOMPARE(handle->crc(), 0ull);
        QCOMPARE(handle->filter(), static_cast<unsigned char>(0));
        auto *homeless = new Handle(nullptr);
        homeless->fromData("data", 0, nullptr, 0);
        QVERIFY(homeless->isEmpty());
        homeless->release();

        handle->fromData("data", 0, nullptr, 0);
        QVERIFY(!handle->isEmpty());
        QVERIFY(handle->isEqualToData("data", crc64("data", 4)));
        QVERIFY(!handle->isEqualToData("other", crc64("other", 5)));
        handle->fromData("other", 7, nullptr, 0);
        QCOMPARE(cache.items().size(), 1);
        QCOMPARE(handle->filter(), static_cast<unsigned char>(7));
        QCOMPARE(handle->fileName(), QString());

        handle->reset();
        QVERIFY(cache.items().isEmpty());
        handle->fromData("again", 0, nullptr, 0);
        QCOMPARE(handle->toData(true), QByteArray("again"));
        handle->fromData(QByteArray(), 0, nullptr, 0);
        QVERIFY(handle->isEmpty());

        handle->addRef();
        QCOMPARE(handle->refCount(), 2);
        QCOMPARE(handle->release(), 1u);
        QCOMPARE(cache.items().size(), 1);
        QCOMPARE(handle->release(), 0u);
        QVERIFY(cache.items().isEmpty());
        // Copies share one item.
        {
            Handle first(&cache);
            first.fromData("shared", 0, nullptr, 0);
            first.addRef();
            Handle second(first);
            QCOMPARE(second.refCount(), 2);
            QCOMPARE(cache.items().size(), 1);
            second.fromData("changed", 0, nullptr, 0);
            QCOMPARE(first.toData(false), QByteArray("changed"));

            const std::unique_ptr<StreamCacheData> own(first.copyTo(&cache));
            QCOMPARE(cache.items().size(), 2);
            QVERIFY(own->isEqualToData("changed", crc64("changed", 7)));
        }
        QVERIFY(cache.items().isEmpty());
    }

    // The file is the user's: others change it, and it stays when the handle ends.
    void handleOnAFile()
    {
        const QTemporaryDir directory;
        const QString name = directory.filePath(QString("b.pcx"));
        FileCache cache;
        Handle handle(&cache, name);
        QCOMPARE(handle.fileName(), name);
        QVERIFY(handle.isEmpty());
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("bytes") == 5);
        file.close();
        QVERIFY(cache.itemIsValid(cache.items().first()));
        QCOMPARE(handle.crc(), 0ull); // not known
        QVERIFY(!handle.isEmpty());
        QCOMPARE(handle.toData(true), QByteArray("bytes"));
        QCOMPARE(handle.toData(false), QByteArray()); // no coder answers
        const std::unique_ptr<StreamCacheData> copy(handle.copyTo(&cache));
        QCOMPARE(copy->fileName(), name);
        handle.reset();
        QVERIFY(QFile::exists(name));
        QCOMPARE(cache.itemData(nullptr), QByteArray());
    }

    void itemsAreFound_data()
    {
        columns<QString, QStringList>("expression", "found");
        addRow("once in an item, however often it matches", "an",
               QStringList{"0:1+2 banana ()", "2:0+2 ananas ()"});
        addRow("captures without the whole match", "(.)n(.)",
               QStringList{"0:1+3 banana (a|a)", "2:0+3 ananas (a|a)"});
        addRow("an optional group that took no part", "^(x)?c", QStringList{"3:0+1 cherry ()"});
        addRow("letter case counts", "BANANA", QStringList());
        addRow("a broken expression finds nothing", "(", QStringList());
    }

    void itemsAreFound()
    {
        auto [expression, found] = row<QString, QStringList>();
        const ContainerPointer file(new Container({"banana", "", "ananas", "cherry"}));
        QCOMPARE(described(file->search(QRegularExpression(expression))), found);
        QCOMPARE(file->asked > 0, QRegularExpression(expression).isValid());
    }

    void itemsAreReplaced_data()
    {
        columns<QString, QString, QStringList>("expression", "text", "names");
        addRow("the whole name, not just the match", "1", "x", QStringList{"x", "b2", "c22"});
        addRow("without groups %1 stays", "1", "x%1", QStringList{"x%1", "b2", "c22"});
        addRow("the first group is never used", "(a)1", "x%1", QStringList{"x%1", "b2", "c22"});
        addRow("%1 is the second group", "(.)(2+)", "<%1>", QStringList{"a1", "<2>", "<22>"});
        addRow("%1 and %2 are the second and third", "(.)(2)(.*)", "%2-%1",
               QStringList{"a1", "-2", "2-2"});
        addRow("more groups than place markers", "(.)(2)(.*)", "n", QStringList{"a1", "n", "n"});
    }

    void itemsAreReplaced()
    {
        auto [expression, text, names] = row<QString, QString, QStringList>();
        const ContainerPointer file(new Container({"a1", "b2", "c22"}));
        QList<ProjectFile::SearchResult> results = file->search(QRegularExpression(expression));
        ProjectFile::SearchResult stranger;
        stranger.line = 100;
        results.prepend(stranger);
        file->replace(results, text);
        QCOMPARE(file->brackets, QByteArray("()"));
        QCOMPARE(file->names(), names);
    }

    void emptyContainerAsksForNothing()
    {
        const ContainerPointer file(new Container({}));
        QVERIFY(file->search(QRegularExpression(QString("."))).isEmpty());
        file->replace({}, QString("x"));
        QCOMPARE(file->asked, 0);
        QCOMPARE(file->brackets, QByteArray());
    }

    void cacheAndItemsEnd()
    {
        auto *cache = new MemoryCache;
        const QPointer<StreamCache> watched(cache);
        auto *file = new Container({}, cache);
        QCOMPARE(file->cache(), cache);
        QVERIFY(file->messages());
        QCOMPARE(file->messages()->file(), file);

        auto *data = new Handle(cache);
        data->fromData("bytes", 0, nullptr, 0);
        data->addRef();
        {
            const Item item(QString("item"), data);
            QCOMPARE(item.data(), data);
        }
        QCOMPARE(data->refCount(), 1);
        QCOMPARE(cache->items().size(), 1);
        data->release();
        QCOMPARE(cache->items().size(), 0);

        file->release();
        QVERIFY(!watched);
    }
};

QTEST_MAIN(TestCachedFiles)

#include "tst_cachedfiles.moc"
