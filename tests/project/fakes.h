#pragma once

#include <kilnx/code/codedocument.h>
#include <kilnx/code/messages.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile.h>
#include <tests/support/files.h>
#include <tests/support/memoryarchive.h>
#include <tests/support/modeltester.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QAction>
#include <QtTest>

/// A definition of lines "id path". Counts how many are alive.
class FakeDocument : public Kiln::CodeDocument
{
public:
    explicit FakeDocument(short fileType = Kiln::Project::Character)
        : CodeDocument(fileType)
    {
        ++alive;
    }
    void release() override { delete this; }
    QString language() const override { return QString("list"); }
    void setText(const QString &text) { setPlainText(text); }
    bool toFile(Kiln::Archive &archive, const QString &name, bool asCopy) override
    {
        return !refuses && CodeDocument::toFile(archive, name, asCopy);
    }

    bool refuses = false;
    static inline int alive = 0;

protected:
    ~FakeDocument() override { --alive; }
    int foldingKind(const QString &) override { return 0; }
};

/// A file of bytes, watched like the library's own.
class FakeFile : public Kiln::ProjectFile, public Kiln::FileWatchObject
{
public:
    FakeFile()
        : m_messages(this)
    {
        ++alive;
    }
    bool canSave() const override { return savable; }
    bool isModified() const override { return modified; }
    bool isEmpty() const override { return contents.isEmpty(); }
    unsigned int capabilities() const override { return capabilityBits; }
    QString fileName() override { return name; }
    bool fromFile(Kiln::Archive &archive, const QString &file, bool asCopy) override;
    bool toFile(Kiln::Archive &archive, const QString &file, bool asCopy) override;
    void reload() override
    {
        ++reloads;
        fromFile(archive(), name, false);
    }
    QList<SearchResult> search(const QRegularExpression &) override { return {}; }
    void replace(const QList<SearchResult> &, const QString &) override {}
    void undo() override { ++undos; }
    void redo() override { ++redos; }
    void release() override { delete this; }
    Kiln::Messages *fileMessages() const override
    {
        return const_cast<Kiln::SimpleMessages *>(&m_messages);
    }

    QByteArray contents;
    QString name;
    bool modified = false;
    bool savable = true;
    bool refuses = false;
    std::function<void()> inBox; ///< what the box of a failed load or save lets happen
    unsigned int capabilityBits = 0;
    int reloads = 0;
    int undos = 0;
    int redos = 0;
    static inline int alive = 0;

protected:
    ~FakeFile() override { --alive; }

private:
    Kiln::SimpleMessages m_messages;
};

class FakeProject : public Kiln::Project
{
    Q_OBJECT

public:
    FakeProject(Kiln::ParentProject *parent, Kiln::CodeDocument *definition)
        : Project(parent, definition, FileID::Definition)
    {
        ++alive;
    }
    using Project::addToParent;
    using Project::reload;
    using Project::takeFile;

    void engineReserved1() override {}
    QString displayName() override { return fileName(); }
    void engineReserved6() override {}
    QSize stageSize() override { return {320, 240}; }
    QSizeF stageScale() override { return {1, 1}; }
    void fileList(QList<Kiln::ReferencedFile> &out) override;
    void engineReserved12() override {}
    void engineReserved13() override {}
    void engineReserved14() override {}

    static inline int alive = 0;

protected:
    ~FakeProject() override { --alive; }
};

class FakeEngine : public Kiln::Engine
{
    Q_OBJECT

public:
    FakeEngine()
        : Engine(QString("fake"))
    {
    }
    char commentCharacter() const override { return ';'; }
    QString displayName() const override { return QString("Fake"); }
    QString executable() const override { return program; }
    QString fileFilter() const override { return QString("Lists (*.def)"); }
    QMap<int, QString> singleFileFilters() const override { return filters; }
    Kiln::ProjectFile *createFile(Kiln::Project::FileID::Type, Kiln::Project *) override
    {
        return makes ? makes() : nullptr;
    }

    QString program = QString("fake-game");
    QMap<int, QString> filters;
    std::function<Kiln::ProjectFile *()> makes;
};

class FakeParent : public Kiln::ParentProject
{
    Q_OBJECT

public:
    explicit FakeParent(const QString &basePath,
                        Kiln::Archive &archive = Kiln::FileSystemArchive::instance())
        : ParentProject(basePath, archive)
    {
        ++alive;
    }
    ~FakeParent() override { --alive; }
    using ParentProject::addPath;
    using ParentProject::removePath;

    Kiln::Engine *engine() override { return fakeEngine; }
    /// Everything below a directory.
    void collectFiles(const QString &path, QStringList &out) override;
    bool prepareRun(QString &executable, QStringList &temporaries) override
    {
        return !prepares || prepares(executable, temporaries);
    }
    void release() override { delete this; }

    /// Opens a definition that is on disk, relative to the base path.
    FakeProject *open(const QString &name);

    Kiln::Engine *fakeEngine = nullptr;
    std::function<bool(QString &, QStringList &)> prepares;
    static inline int alive = 0;
};

/// An editor of FakeFiles. It finds what a file's bytes hold.
class FakeEditor : public Kiln::FileEditor
{
    Q_OBJECT

public:
    QAction *action() const override { return const_cast<QAction *>(&m_action); }
    const char *name() const override { return "sounds"; }
    unsigned int areas() const override { return 7; }
    void retranslate() override {}
    void replace(const QString &, const QString &, unsigned int, bool) override {}
    void hostReserved15() override {}
    Kiln::Project::FileID::Type canEditFileType() override { return Kiln::Project::FileID::Sounds; }
    using FileEditor::find;
    bool find(const Kiln::ProjectFile *file, const QString &text, unsigned int) override
    {
        searched << text;
        return file && dynamic_cast<const FakeFile *>(file)->contents.contains(text.toUtf8());
    }

    QStringList searched;
    int shown = 0;

protected:
    void contentsChanged() override { ++shown; }

private:
    QAction m_action{QString("Sound banks")};
};

constexpr Kiln::ParentProject::PathType scanAll =
    Kiln::ParentProject::ScanDirectories | Kiln::ParentProject::ScanFiles;

using Files = QMap<QString, QByteArray>;

/// A test with a directory and a host of its own. Nothing that it makes may outlive it.
class ProjectTest : public QObject
{
    Q_OBJECT

protected:
    QString base() const { return m_directory->path() + '/'; }
    QString path(const char *name) const { return base() + QLatin1String(name); }
    /// Writes files, named relative to the base.
    void make(const Files &files) const;

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<TestHost> m_host;

protected slots:
    void init();
    void cleanup();
};

FakeDocument *definitionOf(Kiln::Project *project);
/// Opens a file as one of a project's sounds.
FakeFile *openFile(Kiln::Project *project, const QString &path);

/// One line a row, indented by two blanks a level; "/" ends a directory, "+" a named file with its
/// bits.
QString dump(const Kiln::ParentProject &project);
