#include <tests/editors/palettetest.h>
#include <tests/support/files.h>
#include <tests/support/fulldisk.h>
#include <tests/support/rows.h>

using namespace Kiln;
using namespace PaletteTest;

using Steps = QStringList;

/// The boxes of the palettes' panel: which files, and what they do not outlive.
class tst_paletteboxes : public Panel
{
    Q_OBJECT

private Q_SLOTS:
    void addsFiles_data();
    void addsFiles();
    void savesFiles_data();
    void savesFiles();
    void boxesAreOutlived_data();
    void boxesAreOutlived();
};

void tst_paletteboxes::addsFiles_data()
{
    const auto add =
        columns<QStringList, QString, QString, QString>("files", "event", "names", "refused");
    add("one", {"good.act"}, {}, "0 good 1", {});
    add("several, behind the current one", {"good.act", "jasc.pal"}, {}, "0 good jasc 1", {});
    add("a name is typed", {"good.act"}, "EDIT moss", "0 moss 1", {});
    add("bad ones are named", {"short.act", "good.act", "true.png"}, {}, "0 good 1",
        "short.act true.png");
    add("deleted between choosing and reading", {"good.act", "jasc.pal"}, "DELETE", "0 jasc 1",
        "good.act");
    const QString many = "0.act 1.act 2.act 3.act 4.act 5.act 6.act 7.act";
    add("as many bad ones as are named", many.split(' '), {}, "0 1", many);
    add("more bad ones than are named", (many + " 8.act").split(' '), {}, "0 1", many + " ...");
    add("the names are canceled", {"good.act"}, "CANCEL", "0 1", {});
    add("the reading is canceled", {"good.act", "jasc.pal"}, "STOP", "0 1", {});
    add("closed while they are read", {"good.act", "short.act"}, "CLOSE", "", {});
}

void tst_paletteboxes::addsFiles()
{
    const auto [files, event, expected, refused] = row<QStringList, QString, QString, QString>();
    const Table good = randomTable(m_random);
    writeFile(file("good.act"), tableFile(good));
    writeFile(file("short.act"), tableFile(good).left(700));
    writeFile(file("jasc.pal"), "JASC-PAL\r\n0100\r\n256\r\n1 2 3\r\n");
    QVERIFY(QImage(2, 2, QImage::Format_RGB32).save(file("true.png")));
    for (const QString &name : files.filter(QRegularExpression("^[0-9]")))
        writeFile(file(name), "R");
    makePanel(2);
    const auto before = contents();

    answer("Yes");
    QStringList paths;
    for (const QString &name : files)
        paths << file(name);
    answer(paths.size() > 1 ? '"' + paths.join("\" \"") + '"' : paths.first());
    answer(event, [this, event = event] {
        if (event == "DELETE")
            QFile::remove(file("good.act"));
    });
    m_host->cancelAt = event == "STOP" ? 1 : 0;
    if (event == "CLOSE")
        m_host->duringProgress = [this] { m_sprites.reset(); };
    if (!refused.isEmpty())
        answer("OK");
    trigger("pal_add");
    QCOMPARE(names().join(' '), expected);
    const QString told = m_host->dialogs().seen().last().text;
    for (const QString &name : files)
        QCOMPARE(told.contains(name), refused.contains(name));
    QCOMPARE(told.contains("..."), refused.contains("..."));
    for (const auto &progress : m_host->progresses)
        QCOMPARE(progress->finished, 1);
    if (m_sprites) // the last one is shown
        QCOMPARE(m_editor->currentPalette()->index(), expected.count(' ') - 1);
    if (event.isEmpty() && files.size() > 1)
        QCOMPARE(m_host->progresses.last()->total, unsigned(files.size()));
    if (expected.contains("good"))
        QCOMPARE(contents()[1].second[7].g, good[7].g);
    // One step, whatever was added.
    if (contents() != before && m_sprites)
        m_sprites->undo();
    if (m_sprites) {
        QCOMPARE(contents(), before);
        QCOMPARE(m_editor->currentPalette()->index(), 0); // where the user was
    }
}

void tst_paletteboxes::savesFiles_data()
{
    const auto add = columns<QStringList, QString, QStringList>("names", "event", "files");
    const QStringList names{"moss", "stone", "a/b", "a/b", "", "STONE", ".."};
    const QStringList files{"STONE_2.act", "_...act",  "_.act",    "a_b.act",
                            "a_b_2.act",   "moss.act", "stone.act"};
    add("several, each under a name of its own", names, "Yes", files);
    add("closed meanwhile", names, "CLOSE", files);
    add("old ones are to stay", names, "No", {"stone.act"});
    add("canceled: as before", names, "STOP", {"stone.act"});
    add("the disk is full", names, "FULL", {"stone.act"});
    add("a folder is in the way", names, "FOLDER", files);
    add("a folder comes in the way", names, "LATE", files);
    add("one, under the name that is typed", {"moss"}, "NAME", {"my.act", "stone.act"});
}

void tst_paletteboxes::savesFiles()
{
    const auto [names, event, files] = row<QStringList, QString, QStringList>();
    makePanel(0);
    QMap<QString, QByteArray> expected;
    for (const QString &name : names)
        m_sprites->palettes()->add(randomTable(m_random).data(), name, false);
    const auto saved = contents();
    writeFile(file("out/stone.act"), "old");

    answer("CANCEL"); // not even the palette that is chosen at the start
    trigger("pal_save");
    answer("ALL");
    if (event == "NAME") {
        answer(file("out/my"));
    } else {
        answer(file("out"));
        answer(event == "No" ? "No" : "Yes");
    }
    m_host->cancelAt = event == "STOP" ? 4 : 0;
    if (event == "CLOSE")
        m_host->duringProgress = [this] { m_sprites.reset(); };
    const bool isLate = event == "LATE";
    const auto obstruct = [this] { QDir().mkpath(file("out/moss.act/deep")); };
    if (isLate)
        m_host->duringProgress = obstruct;
    else if (event == "FOLDER")
        obstruct();
    {
        const std::unique_ptr<FullDisk> disk(event == "FULL" ? new FullDisk(100) : nullptr);
        if (disk || isLate || event == "FOLDER")
            answer("OK");
        trigger("pal_save");
    }
    QVERIFY(m_host->progresses.isEmpty() || m_host->progresses.last()->finished == 1);
    const QDir out(file("out"));
    QStringList found = out.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    found.sort();
    QCOMPARE(found, files);
    const bool isSaved = event == "Yes" || event == "CLOSE" || event == "FOLDER" || isLate;
    QCOMPARE(readFile(out.filePath("stone.act")), isSaved ? tableFile(saved[1].second) : "old");
    if (isSaved)
        QCOMPARE(readFile(out.filePath("a_b_2.act")), tableFile(saved[3].second));
    if (event == "NAME")
        QCOMPARE(readFile(out.filePath("my.act")), tableFile(saved[0].second));
    const QString told = m_host->dialogs().seen().last().text;
    const QString faults[] = {"File too large", "Permission denied", "Is a directory"};
    const QStringList events{"FULL", "FOLDER", "LATE"};
    for (int i = 0; i < 3; ++i)
        QCOMPARE(told.contains(faults[i]), event == events[i]);
    QCOMPARE(told.contains("a_b_2.act"), event == "FULL");
    QCOMPARE(told.contains("moss.act"), events.contains(event));
}

void tst_paletteboxes::boxesAreOutlived_data()
{
    const auto add = columns<QString, Steps, QString>("key", "steps", "event");
    const QString one = "good.act";
    const QVector<QPair<QString, Steps>> boxes{
        {"pal_add", {"No"}},           {"pal_add", {"Yes", one}},
        {"pal_add", {"Yes", one, ""}}, {"pal_clear", {"Yes"}},
        {"pal_delete", {"Yes"}},       {"pal_open", {one}},
        {"pal_save", {"ALL"}},         {"pal_save", {"ALL", "DIRECTORY"}},
        {"pal_set_color", {"COLOR"}},  {"pal_apply_sprite", {"ALL"}}};
    for (const auto &box : boxes) {
        for (const char *event : {"CLOSE", "PANEL", "REMOVE", "OTHER"})
            add(qPrintable(box.first + ' ' + box.second.join(',') + ' ' + event), box.first,
                box.second, event);
    }
}

/// What is open in a box is gone when the user answers it.
void tst_paletteboxes::boxesAreOutlived()
{
    const auto [key, steps, event] = row<QString, Steps, QString>();
    writeFile(file("good.act"), tableFile(randomTable(m_random)));
    makePanel(3);
    m_sprites->insert(0, "drawn", QImage());
    m_editor->widget()->select(3);
    decltype(contents()) left;
    const std::unique_ptr<EmberSprites, Release> other(new EmberSprites(StreamCache::Memory));
    const Table elsewhere = randomTable(m_random);
    other->palettes()->add(elsewhere.data(), "other", false);
    for (const QString &step : steps) {
        std::function<void()> before;
        if (&step == &steps.last())
            before = [&, event = event] {
                if (event == "CLOSE")
                    m_sprites.reset();
                else if (event == "PANEL")
                    delete m_editor;
                else if (event == "OTHER")
                    m_editor->setPalettes(other->palettes());
                else
                    m_sprites->palettes()->remove(0);
                left = contents();
            };
        answer(step == "DIRECTORY"  ? m_directory->path()
               : step == "good.act" ? file(step)
                                    : step,
               before);
    }
    // There is still something to add, or to save.
    if (event == "REMOVE" &&
        (steps == Steps{"Yes", "good.act"} || key + steps.last() == "pal_saveALL"))
        answer("CANCEL");
    trigger(qPrintable(key));
    const bool goesOn = event == "REMOVE" && (key == "pal_add" || key == "pal_clear");
    if (!goesOn)
        QCOMPARE(contents(), left);
    QCOMPARE(other->palettes()->count(), 1U);
    QCOMPARE(tableOf(other->palettes()->at(0)->colors()), elsewhere);
    if (event == "REMOVE")
        checkShown();
}

QTEST_MAIN(tst_paletteboxes)
#include "tst_paletteboxes.moc"
