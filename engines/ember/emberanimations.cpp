#include "emberanimations.h"

#include "emberdocument.h"

#include <QSet>

EmberAnimations::EmberAnimations(EmberDocument *document)
    : Animations(document)
    , m_remarks(document, this)
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

void EmberAnimations::insertChild(Kiln::CodeNode *node, unsigned int index)
{
    m_remarks.changed(node);
    Animations::insertChild(node, index);
}

void EmberAnimations::removeChild(Kiln::CodeNode *node)
{
    m_remarks.gone(node);
    Animations::removeChild(node);
}

void EmberAnimations::childChanged(Kiln::CodeNode *node)
{
    m_remarks.changed(node);
    Animations::childChanged(node);
}

void EmberAnimations::linesHighlighted(const QTextBlock &first, const QTextBlock &last)
{
    m_remarks.check(first, last);
}
