#include "emberanimations.h"

#include "emberdocument.h"

#include <QSet>

EmberAnimations::EmberAnimations(EmberDocument *document)
    : Animations(document)
{
    document->registerDocumentEditor(this, Kiln::CodeNode::Animation, 0);
}

EmberAnimations::~EmberAnimations() = default;

QString EmberAnimations::freeIdentifier() const
{
    QSet<QString> taken;
    for (const Kiln::AnimationCode *animation : animations())
        taken.insert(animation->name());
    int number = 0;
    while (taken.contains(QString::number(number)))
        ++number;
    return QString::number(number);
}

QString EmberAnimations::animationTemplate() const
{
    return QStringLiteral("@animation %1\n\n");
}

void EmberAnimations::release()
{
    delete this;
}
