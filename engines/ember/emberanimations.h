#pragma once

#include "animationremarks.h"
#include "export.h"

#include <kilnx/code/animations.h>

class EmberDocument;

/// The animations of an Ember document. It registers itself there, and the document destroys it.
class EMBER_EXPORT EmberAnimations : public Kiln::Animations
{
    Q_OBJECT

public:
    explicit EmberAnimations(EmberDocument *document);

    /// The smallest number, from 0 on, that is no identifier yet.
    QString freeIdentifier() const override;
    QString animationTemplate() const override;
    void release() override;
    void insertChild(Kiln::CodeNode *node, unsigned int index) override;
    void removeChild(Kiln::CodeNode *node) override;
    void childChanged(Kiln::CodeNode *node) override;
    /// Lines of the document have been edited: remarks on lines that no longer fit together.
    void linesHighlighted(const QTextBlock &first, const QTextBlock &last);

private:
    ~EmberAnimations() override;

    AnimationRemarks m_remarks;
};
