#pragma once

#include <hostkit/codesurface.h>
#include <hostkit/editordeck.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/messagetable.h>
#include <hostkit/projectsession.h>
#include <hostkit/settings.h>
#include <mainactions.h>
#include <mainwindow.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/parentproject.h>
#include <tests/support/dialogscript.h>
#include <tests/support/files.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

/// The real window on a copy of the sample project, driven by the keyboard.
class WindowTest : public QObject
{
    Q_OBJECT

protected:
    HostKit::HostBase &host() const { return m_window->host(); }
    HostKit::Settings &settings() const { return host().settings(); }
    HostKit::ProjectSession &session() const { return host().session(); }
    Studio::MainActions *actions() const { return m_window->actions(); }
    Kiln::CodeEditor *view() const { return host().surface()->editor(); }
    Kiln::CodeDocument *document() const { return host().surface()->document(); }
    QString hero() const { return m_directory->filePath("hero"); }
    QString path(const QString &name) const { return hero() + '/' + name; }

    void makeWindow()
    {
        m_window = std::make_unique<Studio::MainWindow>(HostKit::Paths::below(m_directory->path()));
    }
    void set(const QString &key, const QVariant &value)
    {
        settings().setValue(key, value);
        settings().apply();
    }
    void open(const QString &name)
    {
        QVERIFY(host().desk().openFile(path(name), 0));
        QCOMPARE(document()->fileName(), path(name));
    }
    void type(const QString &text)
    {
        for (const QChar character : text) {
            // An open list of words would take the Return key for itself.
            QWidget *words = QApplication::activePopupWidget();
            if (words && character == '\n')
                QTest::keyClick(words, Qt::Key_Escape);
            if (character == '\n')
                QTest::keyClick(view(), Qt::Key_Return);
            else
                QTest::keyClick(view(), character.toLatin1());
        }
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<DialogScript> m_dialogs;
    std::unique_ptr<Studio::MainWindow> m_window;

protected Q_SLOTS:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        copyFolder(KILN_SOURCE_DIR "/examples/hero", hero());
        m_dialogs = std::make_unique<DialogScript>();
        makeWindow();
        set("theme", "light");
        set("code_auto_indent", false); // what the tests type has its own
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QVERIFY(host().openProject(hero()));
    }

    void cleanup()
    {
        m_window.reset();
        QCOMPARE(m_dialogs->finish(), QString());
        m_dialogs.reset();
    }

    // Qt fades the clear buttons of line edits, and ends such an animation only in the event loop.
    void cleanupTestCase() { QTest::qWait(300); }
};
