// A tree of 20,000 files, and one changed line in the definition that names them: the merge of the
// library beside the plain one, which looks for each entry among the rows from the first on.
//
// A project of 10,000 files, 1 GB in sum, copied elsewhere and backed up, beside `cp -r`.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextCursor>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/savereport.h>

#include <memory>

#include <sys/resource.h>
#include <unistd.h>

namespace
{

class Definition : public Kiln::CodeDocument
{
public:
    Definition()
        : CodeDocument(0)
    {
    }
    QString language() const override { return QString(); }
    void release() override { delete this; }

protected:
    int foldingKind(const QString &) override { return 0; }
};

/// Names what it is told to name.
class ListProject : public Kiln::Project
{
public:
    ListProject(Kiln::ParentProject *parent, Kiln::CodeDocument *definition)
        : Project(parent, definition, FileID::Definition)
    {
        addToParent();
    }
    void engineReserved1() override {}
    QString displayName() override { return QString(); }
    void engineReserved6() override {}
    QSize stageSize() override { return {}; }
    QSizeF stageScale() override { return {1, 1}; }
    void fileList(QList<Kiln::ReferencedFile> &out) override { out = names; }
    void engineReserved12() override {}
    void engineReserved13() override {}
    void engineReserved14() override {}

    QList<Kiln::ReferencedFile> names;
};

class ListParent : public Kiln::ParentProject
{
public:
    explicit ListParent(const QString &place = QStringLiteral("/nowhere/bench"))
        : ParentProject(place, Kiln::FileSystemArchive::instance())
    {
    }
    Kiln::Engine *engine() override { return nullptr; }
    void collectFiles(const QString &, QStringList &) override {}
    bool prepareRun(QString &, QStringList &) override { return false; }
    void release() override { delete this; }
};

/// 100 files a directory, or all in one; `changed` has another name.
QList<Kiln::ReferencedFile> fileNames(int count, bool isFlat, int changed)
{
    QList<Kiln::ReferencedFile> names;
    for (int i = 0; i < count; ++i) {
        const QString directory = isFlat ? QStringLiteral("all")
                                         : QStringLiteral("dir%1").arg(i / 100, 4, 10, QChar('0'));
        names.append({2, QStringLiteral("%1/sprite%2%3")
                             .arg(directory)
                             .arg(i, 6, 10, QChar('0'))
                             .arg(i == changed ? "x" : "")});
    }
    return names;
}

/// The tree of the peer: a node with children, merged by the plain method.
struct PlainNode {
    QString name;
    bool isFile = false;
    QList<PlainNode *> children;

    ~PlainNode() { qDeleteAll(children); }

    PlainNode *child(const QString &wanted, bool wantsFile)
    {
        for (PlainNode *node : qAsConst(children)) {
            if (node->isFile == wantsFile && node->name == wanted)
                return node;
        }
        auto *node = new PlainNode{wanted, wantsFile, {}};
        children.append(node);
        return node;
    }

    void merge(const PlainNode &entries)
    {
        for (int i = 0; i < entries.children.size(); ++i) {
            const PlainNode *entry = entries.children[i];
            PlainNode *same = child(entry->name, entry->isFile);
            const int row = children.indexOf(same);
            if (row != i)
                children.move(row, i);
            same->merge(*entry);
        }
        while (children.size() > entries.children.size())
            delete children.takeLast();
    }
};

std::unique_ptr<PlainNode> plainEntries(QList<Kiln::ReferencedFile> names)
{
    std::sort(names.begin(), names.end(),
              [](const auto &a, const auto &b) { return a.path < b.path; });
    auto root = std::make_unique<PlainNode>();
    for (const Kiln::ReferencedFile &file : qAsConst(names)) {
        const QStringList parts = file.path.split('/');
        PlainNode *node = root.get();
        for (int i = 0; i < parts.size(); ++i)
            node = node->child(parts[i], i == parts.size() - 1);
    }
    return root;
}

void mergeOfTheLibrary(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const bool isFlat = state.range(1);
    const QList<Kiln::ReferencedFile> lists[] = {fileNames(count, isFlat, -1),
                                                 fileNames(count, isFlat, count / 2)};
    auto *definition = new Definition;
    auto *project = new ListProject(new ListParent, definition);
    int round = 0;
    for (auto _ : state) {
        project->names = lists[++round % 2];
        definition->cursor().insertText(QStringLiteral("x"));
    }
    project->release();
}

void mergeByThePlainMethod(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const bool isFlat = state.range(1);
    const QList<Kiln::ReferencedFile> lists[] = {fileNames(count, isFlat, -1),
                                                 fileNames(count, isFlat, count / 2)};
    PlainNode tree;
    int round = 0;
    for (auto _ : state)
        tree.merge(*plainEntries(lists[++round % 2]));
}

constexpr int copiedFiles = 10000;
constexpr int copiedBytes = 100 * 1024;

/// Sizes go from nothing to twice the mean.
void writeFiles(const QString &base, const QList<Kiln::ReferencedFile> &names)
{
    const QByteArray text(2 * copiedBytes, 'k');
    for (int i = 0; i < names.size(); ++i) {
        const QFileInfo place(base + names[i].path);
        QDir().mkpath(place.path());
        QFile file(place.filePath());
        file.open(QIODevice::WriteOnly);
        file.write(text.left(int(qint64(2 * copiedBytes) * i / names.size())));
    }
    QFile definition(base + QStringLiteral("list.def"));
    definition.open(QIODevice::WriteOnly);
    sync();
}

/// In megabytes, of this process.
double peakMemory()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024;
}

/// From one time of the wall clock to another, with nothing left to be written by the system.
template<typename Work>
double secondsOf(Work work)
{
    sync();
    QElapsedTimer clock;
    clock.start();
    work();
    return double(clock.nsecsElapsed()) * 1e-9;
}

enum Copy { SaveAs, Backup };

/// A project on disk and all copies of it. They stay until the end: a file system that has just
/// deleted thousands of files makes new ones slowly.
struct CopyRoom {
    CopyRoom()
        : base(room.filePath(QStringLiteral("project/")))
        , names(fileNames(copiedFiles, false, -1))
    {
        writeFiles(base, names);
    }
    QString newPlace() { return room.filePath(QString::number(++places)); }

    /// Of `cp`, for all but the backups.
    QStringList arguments(const QString &target) const
    {
        QDir().mkpath(target);
        QStringList all{QStringLiteral("-r")};
        const QStringList entries = QDir(base).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        for (const QString &name : entries) {
            if (name != QLatin1String("backup"))
                all.append(base + name);
        }
        return all << target;
    }

    const QTemporaryDir room;
    const QString base;
    const QList<Kiln::ReferencedFile> names;
    int places = 0;
};

double copyOnce(benchmark::State &state, CopyRoom &room)
{
    auto *parent = new ListParent(room.base);
    auto *definition = new Definition;
    auto *project = new ListProject(parent, definition);
    definition->fromFile(parent->archive(), room.base + QStringLiteral("list.def"), false);
    project->names = room.names;
    const double time = secondsOf([&] {
        if (state.range(0) == SaveAs)
            parent->saveAs(room.newPlace() + QStringLiteral("/list.def"));
        else
            parent->backup(QString::number(++room.places));
    });
    const Kiln::SaveReport report = parent->saveReport();
    if (report.copied.size() < copiedFiles || !report.isComplete())
        state.SkipWithError("not everything was copied");
    project->release();
    return time;
}

void copyOfTheLibrary(benchmark::State &state)
{
    static CopyRoom room;
    const double before = peakMemory();
    double own = 0;
    double plain = 0;
    bool isFirst = true;
    for (auto _ : state) {
        const auto copyPlainly = [&] {
            QProcess::execute(QStringLiteral("cp"), room.arguments(room.newPlace()));
        };
        // Each goes first once.
        plain += isFirst ? secondsOf(copyPlainly) : 0;
        const double time = copyOnce(state, room);
        plain += isFirst ? 0 : secondsOf(copyPlainly);
        isFirst = false;
        own += time;
        state.SetIterationTime(time);
    }
    state.counters["cp_ms"] = plain / double(state.iterations()) * 1e3;
    state.counters["ratio"] = own / plain;
    state.counters["peak_MB_before"] = before;
    state.counters["peak_MB"] = peakMemory();
}

void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"files", "one directory"})->Unit(benchmark::kMillisecond);
    for (int count : {2000, 20000}) {
        benchmark->Args({count, 0});
        benchmark->Args({count, 1});
    }
}

BENCHMARK(mergeOfTheLibrary)->Apply(sizes);
BENCHMARK(mergeByThePlainMethod)->Apply(sizes);
BENCHMARK(copyOfTheLibrary)
    ->ArgName("backup")
    ->Arg(SaveAs)
    ->Arg(Backup)
    ->UseManualTime()
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
