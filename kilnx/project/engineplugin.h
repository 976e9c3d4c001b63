#pragma once

#include <kilnx/export.h>
#include <kilnx/version.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

class QObject;

namespace Kiln
{

class CodeEditor;
class Engine;
class ParentProject;

/// What a host asks a library that holds an engine: the engine itself, its projects, and what it
/// brings for the views of its code.
///
/// A library exports one class of this kind with one line in one of its sources:
///
///     KILNX_ENGINE(MyPlugin)
///
/// MyPlugin has a constructor without arguments. Its one object is made on first use, which is
/// after setGlobalInterface(), lives as long as the process, and belongs to the library; the host
/// never lets go of the library again. All calls come on the GUI thread. An exception may leave the
/// constructor and engine(), and nothing else: the host then does without the library.
class KILNX_EXPORT EnginePlugin
{
public:
    virtual ~EnginePlugin();

    /// The engine of the process, the same object at each call.
    virtual Engine &engine() = 0;
    /// Opens the project in a directory, or that of one definition file. Null, without a message,
    /// when there is none of this engine. The object owns itself and is destroyed with the last
    /// Project that is released.
    virtual ParentProject *openProject(const QString &path) = 0;
    /// Has a code view offer the words of the engine's language. Returns the object that does it, a
    /// child of the view, which the host destroys when another engine becomes current; null, the
    /// default, for nothing.
    virtual QObject *prepareView(CodeEditor *view);
    /// Puts the engine's snippets into the user's directory for them, unless that exists. By
    /// default nothing.
    virtual void deliverSnippets(const QString &directory);
    /// What a new project of the engine can start with, a few words each; by default nothing, and
    /// then the engine makes none.
    virtual QStringList newProjectStarts() const;
    /// Writes a new project into a directory, which exists and is empty. `name` is the user's, of
    /// letters, digits, blanks and the signs "-_."; `start` is a place in newProjectStarts(). What
    /// was written opens with openProject(), and without a message about its text. False where a
    /// file could not be written.
    virtual bool makeProject(const QString &directory, const QString &name, int start);
    /// The program that the engine delivers to try projects with; empty when there is none, which
    /// is the default.
    virtual QString sampleExecutable() const;
};

} // namespace Kiln

/// What a library was built for. A host loads it only when this equals its own, as the layout of
/// the classes may change from one version to the next.
#define KILNX_ENGINE_STAMP "kilnx " KILNX_VERSION

/// Makes the library that this stands in one that a host can load: exports the stamp and the one
/// object of the class `Plugin`, an EnginePlugin. Use it once, outside of every namespace.
#define KILNX_ENGINE(Plugin)                                                                       \
    extern "C" Q_DECL_EXPORT const char *kilnxEngineStamp()                                        \
    {                                                                                              \
        return KILNX_ENGINE_STAMP;                                                                 \
    }                                                                                              \
    extern "C" Q_DECL_EXPORT Kiln::EnginePlugin *kilnxEnginePlugin()                               \
    {                                                                                              \
        static Plugin plugin;                                                                      \
        return &plugin;                                                                            \
    }
