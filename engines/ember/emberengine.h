#pragma once

#include "export.h"

#include <kilnx/project/engine.h>

/// Ember itself: what a host asks about the engine, and the maker of its files.
///
/// A host with a Kiln::Interface creates the one object by instance(), after
/// setGlobalInterface(), and returns it from Interface::engine().
class EMBER_EXPORT EmberEngine : public Kiln::Engine
{
    Q_OBJECT

public:
    static EmberEngine &instance();

    char commentCharacter() const override;
    QString displayName() const override;
    /// "ember-game": a program that prints what it was given, built beside the library.
    QString executable() const override;
    QString fileFilter() const override;
    QMap<int, QString> singleFileFilters() const override;
    /// An empty file of sounds, commands, code or animations, which the caller adds to the project.
    /// Null for the other types.
    Kiln::ProjectFile *createFile(Kiln::Project::FileID::Type type,
                                  Kiln::Project *project) override;

private:
    EmberEngine();
};
