#include "emberengine.h"

#include "emberdocument.h"
#include "embersounds.h"
#include "embersprites.h"

using FileType = Kiln::Project::FileID::Type;

EmberEngine &EmberEngine::instance()
{
    static EmberEngine engine;
    return engine;
}

EmberEngine::EmberEngine()
    : Engine(QStringLiteral("ember"))
{
}

char EmberEngine::commentCharacter() const
{
    return ';';
}

QString EmberEngine::displayName() const
{
    return QStringLiteral("Ember");
}

QString EmberEngine::executable() const
{
    return QStringLiteral("ember-game");
}

QString EmberEngine::fileFilter() const
{
    return tr("Ember definitions (*.hearth *.wisp *.glade)");
}

QMap<int, QString> EmberEngine::singleFileFilters() const
{
    return {{Kiln::Project::FileID::Sounds, QStringLiteral("*.peal")},
            {Kiln::Project::FileID::Sprites, QStringLiteral("*.gleam")},
            {Kiln::Project::FileID::Commands, QStringLiteral("*.beck")},
            {Kiln::Project::FileID::Code, QStringLiteral("*.glow")},
            {Kiln::Project::FileID::Animations, QStringLiteral("*.flick")}};
}

Kiln::ProjectFile *EmberEngine::createFile(FileType type, Kiln::Project *)
{
    switch (type) {
    case FileType::Sounds:
        return new EmberSounds;
    case FileType::Sprites:
        return new EmberSprites;
    case FileType::Commands:
        return new EmberDocument(EmberDocument::Commands);
    case FileType::Code:
        return new EmberDocument(EmberDocument::States);
    case FileType::Animations:
        return new EmberDocument(EmberDocument::Animations);
    default:
        return nullptr;
    }
}
