#include "windowtest.h"

#include <hostkit/rundesk.h>
#include <outputdock.h>

#include <kilnx/project/engine.h>

using namespace HostKit;
using namespace Studio;

// The engine on the current project: what it gets, what is told of it, and what goes on meanwhile.
class tst_studio_running : public WindowTest
{
    Q_OBJECT

    /// The engine runs a script of the shell.
    void setGame(const QByteArray &script)
    {
        const QString game = m_directory->filePath("game");
        writeFile(game, "#!/bin/sh\n" + script + '\n');
        QFile::setPermissions(game, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        host().engine()->edit(0, host().engine()->at(0).name, game, "", "");
    }

private slots:
    void engineRunsOnTheSavedFiles()
    {
        QVERIFY2(host().engine()->count() > 0, "the sample engine is there from the start");
        open("heroes/wren/air.glow");
        type("; saved before the run\n");
        const auto *told = m_window->findChild<OutputDock *>();
        m_dialogs->expectDialog([](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
        actions()->run->trigger();
        QCOMPARE(told->text(), QString()); // who thinks better of it starts nothing
        QVERIFY(document()->isModified());
        m_dialogs->expectBox(QMessageBox::Save);
        if (host().engine()->count() > 1)
            m_dialogs->expectDialog([](QDialog *dialog) { dialog->accept(); });
        actions()->run->trigger();
        QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; saved before the run\r\n"));
        const QString output = told->text();
        QVERIFY2(output.contains("Ember game"), qPrintable(output));
        QVERIFY2(output.contains("wren.wisp"), qPrintable(output));
        QVERIFY(output.contains("exit code 0"));
        QVERIFY(actions()->run->isEnabled());
    }

    // While the engine runs, files are edited and saved; closing the window asks.
    void windowIsUsedWhileTheEngineRuns_data()
    {
        const auto add = columns<bool>("closes");
        add("stopped by its command", false);
        add("stopped by closing the window", true);
    }

    void windowIsUsedWhileTheEngineRuns()
    {
        const auto [closes] = row<bool>();
        Kiln::Engine &engine = *host().engine();
        const auto info = engine.at(0);
        setGame("echo alive; echo fault >&2; exec sleep 1000");
        open("heroes/wren/air.glow");
        auto *output = m_window->findChild<OutputDock *>();
        bool wasUsed = false;
        const auto use = [&, closes = closes] {
            wasUsed = true;
            type("; while it runs\n");
            QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
            QVERIFY(!actions()->run->isEnabled());
            if (!closes) {
                QTest::keyClick(m_window.get(), Qt::Key_F5, Qt::ShiftModifier);
                return;
            }
            for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
                m_dialogs->expectBox(answer);
                QTest::keyClick(m_window.get(), Qt::Key_Q, Qt::ControlModifier);
                QCOMPARE(m_window->isVisible(), answer == QMessageBox::No);
            }
        };
        QTimer wait;
        connect(&wait, &QTimer::timeout, this, [&] {
            if (!wasUsed && output->text().contains("alive") && output->text().contains("fault"))
                use();
        });
        wait.start(20);
        QTest::keyClick(m_window.get(), Qt::Key_F5);
        QVERIFY(wasUsed);
        QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; while it runs\r\n"));
        QVERIFY2(output->text().contains("Stopped"), qPrintable(output->text()));
        QVERIFY(!host().running().isRunning());
        QTextCursor fault = output->findChild<QPlainTextEdit *>()->document()->find("fault");
        QTextCursor alive = output->findChild<QPlainTextEdit *>()->document()->find("alive");
        QVERIFY(fault.charFormat() != alive.charFormat());
        engine.edit(0, info.name, info.executable, info.arguments, info.icon);
    }

    void runsAreTold_data()
    {
        const auto add = columns<QByteArray, QString>("script", "told");
        add("an exit code", "echo one; exit 3", "run|one\n|failed: Ended with exit code 3|idle");
        add("a crash", "echo one >&2; kill -9 $$", "run|!one\n|failed: Crashed|idle");
        add("both streams, each with half a character", // of two bytes
            "printf '\\303'; sleep 0.2; printf '\\303' >&2; sleep 0.2; printf '\\244'; "
            "sleep 0.2; printf '\\266' >&2",
            QString::fromUtf8("run|\u00e4|!\u00f6|succeeded: Ended with exit code 0|idle"));
        add("half a character at the end", "printf 'a\\303'",
            "run|a|succeeded: Ended with exit code "
            "0|idle");
        add("output that is found elsewhere", "echo one # the second time",
            "run|one\n|succeeded: Ended with exit code 0|idle");
        add("stopped", "echo READY; exec sleep 1000", "run|READY\n|stopped: Stopped|idle");
        add("stopped against its will", "trap '' TERM; echo READY; while true; do sleep 0.05; done",
            "run|READY\n|stopped: Stopped|idle");
    }

    /// All that a host hears of a run, the second time as the first; output is told before the end.
    void runsAreTold()
    {
        const auto [script, told] = row<QByteArray, QString>();
        const auto info = host().engine()->at(0);
        setGame(script);
        RunDesk &running = host().running();
        QStringList calls;
        int time = 0;
        connect(&running, &RunDesk::runningChanged, this, [&](bool isRunning) {
            QCOMPARE(running.isRunning(), isRunning);
            calls += isRunning ? "run" : "idle";
        });
        connect(&running, &RunDesk::wrote, this, [&](const QString &text, bool isError) {
            if (!text.isEmpty())
                calls += isError ? '!' + text : text;
            if (text.contains("READY")) {
                running.stop();
                if (script.contains("trap"))
                    running.stop();
            }
        });
        connect(&running, &RunDesk::ended, this, [&](RunDesk::Outcome how, const QString &text) {
            static const char *const outcomes[] = {
                "succeeded: ", "failed: ", "stopped: ", "none: "};
            calls += outcomes[how] + text.section(" after ", 0, 0);
        });
        connect(&running, &RunDesk::started, this, [&] {
            if (script.contains("the second time") && time == 1)
                disconnect(session().parentProject(), &Kiln::ParentProject::engineWrote, &running,
                           nullptr);
        });
        for (; time < 2; ++time) {
            calls.clear();
            running.run();
            QCOMPARE(calls.join('|'), told);
        }
        host().engine()->edit(0, info.name, info.executable, info.arguments, info.icon);
    }

    /// More than anyone can read is left out where it comes at once, and only there.
    void muchOutputIsCut_data()
    {
        const auto add = columns<bool>("atOnce");
        add("at once", true);
        add("as it is read", false);
    }

    void muchOutputIsCut()
    {
        const auto [atOnce] = row<bool>();
        const QByteArray some = "head -c 200000 /dev/zero | tr '\\0' x; echo END\n";
        const QByteArray wait = "while [ ! -e go ]; do sleep 0.01; done; rm go\n";
        const auto info = host().engine()->at(0);
        setGame((atOnce ? some : some + wait).repeated(6));
        QString all;
        connect(&host().running(), &RunDesk::wrote, this, [&](const QString &text) {
            all += text;
            if (text.endsWith("END\n"))
                writeFile(m_directory->filePath("go"));
        });
        QStringList calls;
        connect(&host().running(), &RunDesk::ended, this,
                [&](RunDesk::Outcome how, const QString &text) {
                    calls += QString::number(how) + text.section(" after ", 0, 0);
                });
        host().running().run();
        int leftOut = 0;
        QRegularExpressionMatchIterator cuts =
            QRegularExpression("\n\\[(\\d+) characters left out\\]\n").globalMatch(all);
        while (cuts.hasNext()) {
            const QRegularExpressionMatch cut = cuts.next();
            leftOut += cut.captured(1).toInt() - cut.capturedLength();
        }
        QCOMPARE(leftOut + all.size(), 6 * 200004);
        QVERIFY(atOnce || leftOut == 0);
        QVERIFY(all.endsWith("xEND\n"));
        // A project that is closed takes its engine along.
        setGame("exec sleep 1000");
        connect(&host().running(), &RunDesk::started, this, [this] { session().close(); });
        host().running().run();
        QCOMPARE(calls,
                 QStringList({"0Ended with exit code 0", "2Stopped, as the project was closed"}));
        QVERIFY(!host().running().isRunning());
        host().engine()->edit(0, info.name, info.executable, info.arguments, info.icon);
    }

    void missingEngineIsNamed()
    {
        Kiln::Engine &engine = *host().engine();
        const auto info = engine.at(0);
        engine.edit(0, info.name, "/no/such/program", "", "");
        m_dialogs->expectBox(QMessageBox::Yes);
        m_dialogs->expectDialog([](QDialog *dialog) {
            auto *pages = dialog->findChild<QTabWidget *>("settings_pages");
            QCOMPARE(pages->tabText(pages->currentIndex()).remove('&'), QString("Engines"));
            dialog->reject();
        });
        actions()->run->trigger();
        QVERIFY(m_dialogs->seen().first().text.contains("/no/such/program"));
        engine.edit(0, info.name, info.executable, info.arguments, info.icon);
    }
};

QTEST_MAIN(tst_studio_running)
#include "tst_studio_running.moc"
