#pragma once

#include "export.h"

#include <kilnx/code/codeparser.h>

class EmberGroup;
struct EmberLine;

/// Ember's side of the parser contract: one line in, its node and its paint out.
///
/// It keeps nothing between two calls, so one object serves all documents. What encloses a line is
/// learned from the node before it: that is a header, or a value whose container is its section.
class EMBER_EXPORT EmberParser : public Kiln::CodeParser
{
public:
    static EmberParser &instance();

    Kiln::CodeNode *parse(const QString &text,
                          Kiln::CodeNode *old,
                          Kiln::CodeNode *previous,
                          Kiln::RootCode *root,
                          Kiln::CodeParserSyntax *syntax) override;
};
