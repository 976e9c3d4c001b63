#pragma once

#include "export.h"

#include <kilnx/code/codedocument.h>
#include <kilnx/project/project.h>

class EmberAnimations;

/// A code file of Ember: a definition, commands, states or animations.
///
/// It hands its text to the EmberParser, and enables the sections that belong into a file of its
/// kind; a file of animations has the EmberAnimationParser and a list. Made with `new`; release()
/// destroys it, which its Project does for the files it owns.
class EMBER_EXPORT EmberDocument : public Kiln::CodeDocument
{
public:
    /// What kind of file it is; RootCode::fileType() tells. For a definition the number is that of
    /// Kiln::Project::Type, because the project takes its type from it.
    enum FileType : short {
        Character = Kiln::Project::Character,
        Stage = Kiln::Project::Background,
        Game = Kiln::Project::Game,
        Commands = 100,
        States = 101,
        Animations = 102,
        NoFileType = -1
    };

    explicit EmberDocument(FileType type);

    /// The type that the suffix of a file name tells; `NoFileType` for any other.
    static FileType typeOfFile(const QString &fileName);
    /// The suffix of files of a type, without the dot.
    static const char *suffix(FileType type);
    /// True for the types whose files are the definition of a project.
    static bool isDefinition(FileType type);

    /// The list of the animations; null for files of other types. It is the document's.
    EmberAnimations *animations() const;

    QString language() const override;
    QIcon nodeIcon(const Kiln::CodeNode *node) const override;
    void release() override;

protected:
    ~EmberDocument() override;
    const char *fileExtension() const override;
    int foldingKind(const QString &line) override;
    void linesHighlighted(const QTextBlock &first, const QTextBlock &last) override;
};
