#pragma once

#include <ember/emberdocument.h>

/// What differs between a document and a fresh one that was given the same text at once: nodes,
/// messages, rows, brackets, and what animations say. Empty if nothing does.
QString difference(EmberDocument &document);
