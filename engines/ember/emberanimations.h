#pragma once

#include "export.h"

#include <kilnx/code/animations.h>

class EmberDocument;

/// The animations of an Ember document. It registers itself there, and the document ends it.
class EMBER_EXPORT EmberAnimations : public Kiln::Animations
{
    Q_OBJECT

public:
    explicit EmberAnimations(EmberDocument *document);

    /// The smallest number, from 0 on, that is no identifier yet.
    QString freeIdentifier() const override;
    QString animationTemplate() const override;
    void release() override;

private:
    ~EmberAnimations() override;
};
