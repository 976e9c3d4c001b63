#include "fakes.h"

#include <kilnx/forms/rundlg.h>

#include <QListView>

#include <sys/stat.h>

using namespace Kiln;

namespace
{

QStringList names(const EngineInstances &engine)
{
    QStringList result;
    for (int row = 0; row < engine.rowCount(); ++row)
        result << engine.index(row).data().toString();
    return result;
}

/// An executable that writes its arguments, each in brackets, and its directory.
void makeScript(const QString &path,
                const QByteArray &body = R"(for a; do printf '[%s]' "$a"; done; pwd)")
{
    writeFile(path, "#!/bin/sh\n" + body + "\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

class tst_engine : public ProjectTest
{
    Q_OBJECT

private:
    std::unique_ptr<FakeEngine> m_engine;
    std::unique_ptr<FakeParent> m_parent;

private slots:
    void init()
    {
        ProjectTest::init();
        m_host->configDirectory = path("config");
        m_engine = std::make_unique<FakeEngine>();
        m_parent = std::make_unique<FakeParent>(path("project"));
        m_parent->fakeEngine = m_engine.get();
    }

    void cleanup()
    {
        m_parent.reset();
        m_engine.reset();
        ProjectTest::cleanup();
    }

    void instancesAreAModel()
    {
        const ModelTester tester(m_engine.get());
        for (const char *name : {"a", "b", "c", "d"})
            m_engine->add(name, "exe", "args", "");
        m_engine->move(0, 2);
        QCOMPARE(names(*m_engine), QStringList({"b", "c", "a", "d"}));
        m_engine->move(3, 1);
        QCOMPARE(names(*m_engine), QStringList({"b", "d", "c", "a"}));
        m_engine->move(0, 4);
        m_engine->move(9, 0);
        m_engine->move(1, 1);
        m_engine->edit(1, "D", "exe2", "args2", "icon2");
        m_engine->edit(4, "x", "", "", "");
        m_engine->remove(2);
        m_engine->remove(3);
        QCOMPARE(names(*m_engine), QStringList({"b", "D", "a"}));
        QCOMPARE(m_engine->at(1).executable, QString("exe2"));
        QCOMPARE(m_engine->at(1).icon, QString("icon2"));
        QCOMPARE(m_engine->at(7).name, QString());
        const QSignalSpy removed(m_engine.get(), &QAbstractItemModel::rowsRemoved);
        m_engine->clear();
        m_engine->clear();
        QCOMPARE(m_engine->count(), 0u);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(m_engine->publicEngine(), m_engine.get());
    }

    void iconsOfInstances()
    {
        m_host->dataDirectory = path("data");
        QPixmap red(8, 8);
        red.fill(Qt::red);
        QVERIFY(QDir().mkpath(path("data/engines/fake")));
        QVERIFY(red.save(path("data/engines/fake/icon.png")));
        QPixmap blue(8, 8);
        blue.fill(Qt::blue);
        QVERIFY(blue.save(path("own.png")));
        m_engine->add("default", "", "", "");
        m_engine->add("own", "", "", path("own.png"));
        const auto color = [this](int row) {
            const auto icon = m_engine->index(row).data(Qt::DecorationRole).value<QIcon>();
            return icon.pixmap(8, 8).toImage().pixelColor(4, 4);
        };
        QCOMPARE(color(0), QColor(Qt::red));
        QCOMPARE(color(1), QColor(Qt::blue));
        QVERIFY(!m_engine->index(0).data(Qt::ToolTipRole).isValid());
        QCOMPARE(m_engine->enginePath(), QString("/engines/fake"));
    }

    void configurationSurvives()
    {
        m_engine->add("one & <two>", "/bin/a \"b\"", "-x  -y", "icon.png");
        m_engine->setOption("rect", QRect(1, 2, 30, 40));
        m_engine->setOption("negative", QRect(-1, 2, 30, 40));
        m_engine->setOption("color", QColor(10, 20, 30, 40));
        m_engine->setOption("text", "1,2");
        m_engine->setOption("looks like a colour", "1,2,3");
        m_engine->setOption("no colour", "300,2,3");
        m_engine->setOption("too large", "99999999999,2,3,4");
        m_engine->setOption("number", 17);
        QVERIFY(m_engine->save());
        QCOMPARE(m_engine->configFile(), path("config/fake_config.xml"));
        const QByteArray xml = readFile(m_engine->configFile());
        QVERIFY(xml.indexOf("\"exe\"") < xml.indexOf("\"icon\"") &&
                xml.indexOf("\"icon\"") < xml.indexOf("\"params\"") &&
                xml.indexOf("\"params\"") < xml.indexOf("<config "));

        FakeEngine read;
        const ModelTester tester(&read);
        QSignalSpy inserted(&read, &QAbstractItemModel::rowsInserted);
        QVERIFY(read.load());
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(read.at(0).name, QString("one & <two>"));
        QCOMPARE(read.at(0).executable, QString("/bin/a \"b\""));
        QCOMPARE(read.at(0).arguments, QString("-x  -y"));
        QCOMPARE(read.at(0).icon, QString("icon.png"));
        const QVariant none;
        QCOMPARE(read.option("rect", none), QVariant(QRect(1, 2, 30, 40)));
        QCOMPARE(read.option("negative", none), QVariant("-1,2,30,40"));
        QCOMPARE(read.option("color", none), QVariant(QColor(10, 20, 30)));
        QCOMPARE(read.option("text", none), QVariant("1,2"));
        QCOMPARE(read.option("looks like a colour", none), QVariant(QColor(1, 2, 3)));
        QCOMPARE(read.option("no colour", none), QVariant("300,2,3"));
        QCOMPARE(read.option("too large", none), QVariant("99999999999,2,3,4"));
        QCOMPARE(read.option("number", none), QVariant("17"));
        m_host->options["host"] = 5;
        QCOMPARE(read.option("host", none), QVariant(5));
        QCOMPARE(read.option("nowhere", 6), QVariant(6));
        QVERIFY(read.load());
        QCOMPARE(read.count(), 2u);
    }

    void badConfigurations_data()
    {
        columns<QByteArray, bool, QStringList>("xml", "isGood", "expected");
        const QByteArray one = "<engine name='one'><param name='exe' value='x'/></engine>";
        addRow("empty", QByteArray(), false, QStringList());
        addRow("binary", QByteArray("\0\1\2\3", 4), false, QStringList());
        addRow("cut off between elements", "<configuration>" + one, false, QStringList("one"));
        addRow("cut off in an element",
               "<configuration>" + one + "<engine name='two'><param name='e", false,
               QStringList("one"));
        addRow("wrong nesting",
               "<configuration>" + one + "<engine name='two'></param></configuration>", false,
               QStringList("one"));
        addRow("unknown elements",
               "<configuration><what/>" + one +
                   "<engine><param name='odd' value='y'/><odd/></engine></configuration>",
               true, QStringList({"one", ""}));
        addRow("another document", QByteArray("<html/>"), true, QStringList());
    }

    void badConfigurations()
    {
        const auto [xml, isGood] = row<QByteArray, bool>();
        writeFile(m_engine->configFile(), xml);
        if (!isGood)
            m_host->dialogs().expectBox(QMessageBox::Ok);
        QCOMPARE(m_engine->load(), isGood);
        QTEST(names(*m_engine), "expected");
        if (!isGood) {
            const DialogScript::Seen seen = m_host->dialogs().seen().first();
            QCOMPARE(seen.icon, QMessageBox::Critical);
            QCOMPARE(seen.title, m_host->text(0));
        }
    }

    void filesThatCannotBeUsed()
    {
        QVERIFY(m_engine->load());
        QVERIFY(QDir().mkpath(m_engine->configFile()));
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!m_engine->load());
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!m_engine->save());
        const QList<DialogScript::Seen> seen = m_host->dialogs().seen();
        QCOMPARE(seen[0].title, QString("Configuration error!"));
        QCOMPARE(seen[0].text,
                 QString("Can't open engine configuration from '%1'!").arg(m_engine->configFile()));
        QCOMPARE(seen[1].text,
                 QString("Can't save engine configuration to '%1'!").arg(m_engine->configFile()));
    }

    void runsTheOnlyInstance()
    {
        makeScript(path("bin/game"));
        make({{"temp/dir/file", ""}, {"precious/file", "kept"}});
        QVERIFY(QFile::link(path("precious"), path("temp/dir/link")));
        QVERIFY(QFile::link(path("precious"), path("linked")));
        writeFile(path("temp/single"));
        m_engine->add("only", path("bin/game"), "-a  b", "");
        m_host->options["last_Fake"] = 3;
        m_parent->prepares = [this](QString &, QStringList &temporaries) {
            temporaries = QStringList{path("temp/dir") + '/', path("temp/single"),
                                      path("linked") + '/', path("never/was") + '/'};
            return true;
        };
        QString output;
        QVERIFY(m_parent->run(&output));
        QCOMPARE(output, "[-a][][b]" + QFileInfo(path("bin")).canonicalFilePath() + "\n");
        QCOMPARE(m_host->options["last_Fake"], QVariant(0));
        QVERIFY(!m_host->options.contains("project_run_geometry"));
        QVERIFY(!QFile::exists(path("temp/dir")) && !QFile::exists(path("temp/single")));
        QVERIFY(!QFileInfo(path("linked")).isSymLink());
        QCOMPARE(readFile(path("precious/file")), QByteArray("kept"));
        m_engine->edit(0, "only", path("bin/game"), "", "");
        QVERIFY(m_parent->run(&output));
        QVERIFY(!output.contains('['));
    }

    void asksAmongSeveral()
    {
        makeScript(path("one"), "echo one");
        makeScript(path("two"), "echo two");
        m_engine->add("first", path("one"), "", "");
        m_engine->add("second", path("two"), "", "");
        m_host->options["last_Fake"] = 1;
        QString output;
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            auto *run = qobject_cast<RunDlg *>(dialog);
            QVERIFY(run);
            QCOMPARE(run->windowTitle(), QString("Run in Engine"));
            QCOMPARE(run->selectedRow(), 1);
            // Until then the server may still put the window back where it first placed it.
            QVERIFY(QTest::qWaitForWindowExposed(run));
            run->setGeometry(30, 40, 300, 200);
            auto *view = run->findChild<QListView *>();
            view->clearSelection();
            QCOMPARE(run->selectedRow(), -1);
            run->accept();
        });
        QVERIFY(!m_parent->run(&output));
        QVERIFY(m_host->options["project_run_geometry"].toRect().width() == 300);
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            QCOMPARE(dialog->width(), 300);
            dialog->reject();
        });
        QVERIFY(!m_parent->run(&output));
        QCOMPARE(m_host->options["last_Fake"], QVariant(1));
        m_host->dialogs().expectDialog([](QDialog *dialog) {
            auto *view = dialog->findChild<QListView *>();
            view->setCurrentIndex(view->model()->index(0, 0));
            dialog->accept();
        });
        QVERIFY(m_parent->run(&output));
        QCOMPARE(output, QString("one\n"));
        QCOMPARE(m_host->options["last_Fake"], QVariant(0));
    }

    void gameInTheProjectNeedsNoInstance()
    {
        makeScript(path("project/fake-game"), "echo game; echo error >&2");
        QVERIFY(m_parent->isGame());
        m_engine->program.clear();
        QVERIFY(!m_parent->isGame());
        m_engine->program = "fake-game";
        m_parent->prepares = [this](QString &executable, QStringList &) {
            executable = m_parent->basePath() + "fake-game";
            return true;
        };
        QString output;
        QVERIFY(m_parent->run(&output));
        QCOMPARE(output, QString("game\n"));
        QVERIFY(m_parent->run(nullptr));
    }

    void failures()
    {
        writeFile(path("noprogram"), "text");
        QVERIFY(chmod(qPrintable(path("noprogram")), 0644) == 0);
        writeFile(path("temporary"));
        m_parent->prepares = [this](QString &, QStringList &temporaries) {
            temporaries << path("temporary");
            return true;
        };
        m_host->dialogs().expectBox(QMessageBox::Ok);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        const QSignalSpy missing(m_parent.get(), &ParentProject::engineNotFound);
        QVERIFY(!m_parent->run(nullptr));
        QCOMPARE(missing.count(), 1);
        QVERIFY(!QFile::exists(path("temporary")));
        m_parent->fakeEngine = nullptr;
        m_host->dialogs().expectBox(QMessageBox::Ok);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(!m_parent->run(nullptr));
        m_parent->fakeEngine = m_engine.get();
        m_engine->add("bad", path("noprogram"), "", "");
        m_host->dialogs().expectBox(QMessageBox::Ok);
        QVERIFY(m_parent->run(nullptr));
        const QList<DialogScript::Seen> seen = m_host->dialogs().seen();
        QCOMPARE(seen[0].text,
                 QString("Oops, you need to add an engine first. Do it in Tools / Options."));
        QCOMPARE(seen[0].icon, QMessageBox::Warning);
        QCOMPARE(seen[1].title, QString("Error!"));
        QCOMPARE(seen[1].text, QString("Executable not found!"));
        QCOMPARE(seen[2].text, seen[0].text);
        QCOMPARE(seen[4].title, QString("Error 0!"));
        QCOMPARE(seen[4].text, QString("Can't start the process '%1'!").arg(path("noprogram")));

        m_parent->prepares = [](QString &, QStringList &) { return false; };
        makeScript(path("noprogram"), "touch " + path("started").toUtf8());
        QVERIFY(!m_parent->run(nullptr));
        QVERIFY(!QFile::exists(path("started")));
    }

    void oneRunAtATimeAndAnotherProjectBeside()
    {
        makeScript(path("quick"), "echo quick");
        m_engine->add("game", path("game"), "", "");
        FakeEngine otherEngine;
        otherEngine.add("quick", path("quick"), "", "");
        FakeParent other(path("other"));
        other.fakeEngine = &otherEngine;
        makeScript(path("game"),
                   "while [ ! -e " + path("stop").toUtf8() + " ]; do sleep 0.02; done");
        QString quick;
        bool second = true;
        QTimer::singleShot(0, this, [&] {
            m_host->dialogs().expectBox(QMessageBox::Ok);
            second = m_parent->run(nullptr);
            other.run(&quick);
            writeFile(path("stop"));
        });
        QVERIFY(m_parent->run(nullptr));
        QVERIFY(!second);
        QCOMPARE(quick, QString("quick\n"));
        QCOMPARE(m_host->dialogs().seen().first().text,
                 QString("Oops, you can run only one instance of yhe engine at the same time."));
        QCOMPARE(m_host->dialogs().seen().first().title, QString("Warning!"));
    }

    void tellsWhatTheEngineWritesWhileItRuns()
    {
        makeScript(path("game"), "echo out; echo err >&2; while [ ! -e " + path("stop").toUtf8() +
                                     " ]; do sleep 0.02; done; printf more; exit 3");
        m_engine->add("game", path("game"), "-a", "");
        QMap<bool, QByteArray> told;
        connect(m_parent.get(), &ParentProject::engineWrote, this,
                [&](const QByteArray &data, bool isError) {
                    QVERIFY(m_parent->isRunning());
                    told[isError] += data;
                    if (told.size() == 2)
                        writeFile(path("stop"));
                });
        const QSignalSpy started(m_parent.get(), &ParentProject::engineStarted);
        const QSignalSpy ended(m_parent.get(), &ParentProject::engineEnded);
        QString output;
        QVERIFY(m_parent->run(&output));
        QVERIFY(!m_parent->isRunning());
        QCOMPARE(started.value(0), (QVariantList{path("game"), QStringList("-a")}));
        QCOMPARE(told.value(false), QByteArray("out\nmore"));
        QCOMPARE(told.value(true), QByteArray("err\n"));
        QCOMPARE(output, QString("out\nmore"));
        QCOMPARE(ended.value(0), (QVariantList{3, false}));
    }

    void stopsTheEngine_data()
    {
        const auto add = columns<QByteArray, int>("script", "calls");
        add("one that ends when it is asked to", "echo here; exec sleep 1000", 1);
        add("one that does not", "trap '' TERM; echo here; while :; do sleep 0.02; done", 2);
    }

    void stopsTheEngine()
    {
        const auto [script, calls] = row<QByteArray, int>();
        makeScript(path("game"), script);
        m_engine->add("game", path("game"), "", "");
        connect(m_parent.get(), &ParentProject::engineWrote, this, [&, count = calls] {
            for (int call = 0; call < count; ++call)
                m_parent->stopEngine();
        });
        const QSignalSpy ended(m_parent.get(), &ParentProject::engineEnded);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(m_parent->run(nullptr));
        QVERIFY(clock.elapsed() < 2900); // or it was killed for its silence
        QCOMPARE(ended.value(0).value(1), QVariant(true));
    }

    void projectClosedWhileItsGameRuns()
    {
        makeScript(path("game"), "exec sleep 1000");
        m_engine->add("game", path("game"), "", "");
        QTimer::singleShot(0, this, [&] { m_parent.reset(); });
        QString output = "unset";
        QVERIFY(m_parent->run(&output));
        QCOMPARE(output, QString("unset"));
        QVERIFY(!m_parent);
    }
};

QTEST_MAIN(tst_engine)
#include "tst_engine.moc"
