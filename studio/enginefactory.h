#pragma once

#include <QString>

namespace Kiln
{
class CodeEditor;
class Engine;
class ParentProject;
} // namespace Kiln

namespace Studio
{

/// The one place that knows which engine Studio works for: put another engine in here.
namespace EngineFactory
{

/// The engine of the process, made on first use, which must come after setGlobalInterface().
Kiln::Engine &engine();

/// Opens the project in a directory, or of one definition file. Null when there is none of the
/// engine. The object owns itself and ends with its last Project.
Kiln::ParentProject *openProject(const QString &path);

/// Has a code view offer the words of the engine's language.
void addWords(Kiln::CodeEditor *view);

/// Puts the engine's snippets into the user's directory for them, unless that exists.
void deliverSnippets(const QString &directory);

/// The program that the engine delivers to try projects with; empty if it is not beside Studio.
QString sampleExecutable();

} // namespace EngineFactory

} // namespace Studio
