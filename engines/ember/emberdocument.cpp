#include "emberdocument.h"

#include "animationparser.h"
#include "emberanimations.h"
#include "emberline.h"
#include "emberparser.h"

#include <kilnx/project/interface.h>

#include <QFileInfo>

namespace
{

const EmberDocument::FileType fileTypes[] = {EmberDocument::Character, EmberDocument::Stage,
                                             EmberDocument::Game,      EmberDocument::Commands,
                                             EmberDocument::States,    EmberDocument::Animations};

} // namespace

EmberDocument::EmberDocument(FileType type)
    : CodeDocument(type)
{
    followHostOptions();
    if (type == Animations) {
        new EmberAnimations(this);
        setParser(&EmberAnimationParser::instance());
        return;
    }
    using namespace EmberLanguage;
    switch (type) {
    case Character:
        enableGroups({About, Files, Body});
        break;
    case Stage:
        enableGroups({About, Files, Ground, Layer});
        break;
    case Game:
        enableGroups({About, Files, Match});
        break;
    case Commands:
        enableGroups({EmberLanguage::Command});
        break;
    default:
        enableGroups({State, Rule, Step});
    }
    setParser(&EmberParser::instance());
}

EmberDocument::~EmberDocument() = default;

EmberDocument::FileType EmberDocument::typeOfFile(const QString &fileName)
{
    const QString ending = QFileInfo(fileName).suffix();
    for (const FileType type : fileTypes) {
        if (ending == QLatin1String(suffix(type)))
            return type;
    }
    return NoFileType;
}

const char *EmberDocument::suffix(FileType type)
{
    switch (type) {
    case Character:
        return "wisp";
    case Stage:
        return "glade";
    case Game:
        return "hearth";
    case Commands:
        return "beck";
    case Animations:
        return "flick";
    default:
        return "glow";
    }
}

bool EmberDocument::isDefinition(FileType type)
{
    return type == Character || type == Stage || type == Game;
}

EmberAnimations *EmberDocument::animations() const
{
    return static_cast<EmberAnimations *>(documentEditor(Kiln::CodeNode::Animation, 0));
}

QString EmberDocument::language() const
{
    return QStringLiteral("Ember");
}

QIcon EmberDocument::nodeIcon(const Kiln::CodeNode *node) const
{
    const Kiln::Interface *host = Kiln::Interface::instance();
    if (host && node->type() == Kiln::CodeNode::Animation)
        return host->icon(QStringLiteral("icon_animation"));
    if (!host || node->type() != Kiln::CodeNode::Group)
        return QIcon();
    return host->icon(fileType() == Commands ? QStringLiteral("icon_command")
                                             : QStringLiteral("icon_code"));
}

void EmberDocument::release()
{
    delete this;
}

const char *EmberDocument::fileExtension() const
{
    return suffix(static_cast<FileType>(fileType()));
}

int EmberDocument::foldingKind(const QString &line)
{
    int level = 0;
    switch (EmberLine::kindOf(line, &level)) {
    case EmberLine::Header:
        return level == 1 ? 1 + 4 : 1;
    case EmberLine::Blank:
        return 0;
    default:
        return 2;
    }
}

void EmberDocument::linesHighlighted(const QTextBlock &first, const QTextBlock &last)
{
    if (EmberAnimations *list = animations())
        list->linesHighlighted(first, last);
}
