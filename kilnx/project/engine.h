#pragma once

#include <kilnx/export.h>
#include <kilnx/project/project.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QWidget;

namespace Kiln
{

class Engine;
class ProjectFile;

/// The list of installed executables of an engine that the user keeps, as a model with one column:
/// the name, and the icon (or the engine's "icon.png" where none is given).
class KILNX_EXPORT EngineInstances : public QAbstractListModel
{
    Q_OBJECT

public:
    struct Info {
        QString name;
        QString executable;
        QString arguments; ///< separated by blanks
        QString icon;      ///< a picture file
    };

    /// `id` names the engine's directory and configuration file.
    explicit EngineInstances(const QString &id);
    ~EngineInstances() override;

    void add(const QString &name,
             const QString &executable,
             const QString &arguments,
             const QString &icon);
    /// Replaces a row's fields; nothing when out of range, as in the operations below.
    void edit(unsigned int index,
              const QString &name,
              const QString &executable,
              const QString &arguments,
              const QString &icon);
    /// Moves a row so that it ends up at place `to`.
    void move(unsigned int from, unsigned int to);
    void remove(unsigned int index);
    void clear();
    unsigned int count() const;
    /// The fields of a row; empty ones out of range.
    Info at(unsigned int index) const;

    /// "/engines/" and the id: Interface::dataPath() or userPath() plus this is the engine's
    /// directory.
    const QString &enginePath() const { return m_enginePath; }
    /// The configuration file: Interface::configPath(), "/", the id and "_config.xml".
    const QString &configFile() const { return m_configFile; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

protected:
    /// Appends what a configuration file named, told as one insertion.
    void append(const QList<Info> &infos);

private:
    QString m_enginePath;
    QString m_configFile;
    QList<Info *> m_instances;
};

/// What the library keeps for an engine: the executables and the options, in one XML file. The
/// host calls load() at start and save() when its options dialog closes; engine_config.cpp defines
/// both.
class KILNX_EXPORT EnginePrivate : public EngineInstances
{
    Q_OBJECT

public:
    /// The object as the engine that it is.
    Engine *publicEngine();

    /// Reads the configuration file and adds its rows and options to what is there. A missing file
    /// is no error. False, after a message, when it cannot be read or is malformed; what was read
    /// before the fault stays.
    bool load();
    /// Writes the configuration file. False, after a message, when that fails; the old file then
    /// stays.
    bool save();

    /// The option; where there is none, the host's setting; without a host, `fallback`.
    QVariant option(const QString &key, const QVariant &fallback) const;
    /// Sets the option here only; save() keeps it. Rectangles, colours (without alpha) and what
    /// can be written as text survive; a text such as "1,2,3" comes back as a colour.
    void setOption(const QString &key, const QVariant &value);

    /// Adds the engine's own fields to the host's options dialog.
    virtual void registerCustomOptions(QWidget *container);

private:
    friend class Engine;
    explicit EnginePrivate(const QString &id);

    QByteArray toXml() const;

    QMap<QString, QVariant> m_options;
};

/// A game runtime for which the editor works. A plug-in derives its engine from it, describes it,
/// and makes its files; one engine is current at a time (Interface::engine()).
class KILNX_EXPORT Engine : public EnginePrivate
{
    Q_OBJECT

public:
    /// `id` names the engine's directory below "/engines/" and its configuration file.
    explicit Engine(const QString &id);

    /// The character that opens a comment in the engine's code files.
    virtual char commentCharacter() const = 0;
    /// The name shown to users; the option "last_" and this name keeps the row last run.
    virtual QString displayName() const = 0;
    /// The name of the game's program file, relative to a project's base path.
    virtual QString executable() const = 0;
    /// The file-dialog filter for definition files.
    virtual QString fileFilter() const = 0;
    /// From a file type (a Project::FileID::Type) to its file-dialog pattern, as in "*.snd".
    virtual QMap<int, QString> singleFileFilters() const = 0;
    /// Makes a new, empty file of a type for the project, which takes it over with addFile().
    /// Null for a type that the engine does not have.
    virtual ProjectFile *createFile(Project::FileID::Type type, Project *project) = 0;
};

} // namespace Kiln
