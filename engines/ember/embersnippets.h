#pragma once

#include "export.h"

#include <QString>

/// The snippets that Ember delivers. They are copied once and are the user's own from then on.
namespace EmberSnippets
{

/// Fills `directory`, which is made, with the delivered snippets; does nothing when it is there
/// already, so that a snippet that was deleted stays away. False when a file cannot be written.
EMBER_EXPORT bool deliver(const QString &directory);

} // namespace EmberSnippets
