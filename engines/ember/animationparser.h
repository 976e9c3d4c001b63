#pragma once

#include "export.h"

#include <kilnx/code/codeparser.h>

/// The parser of Ember's animation files; see EmberAnimationText for the language.
///
/// Like EmberParser it keeps nothing between two calls and serves all documents.
class EMBER_EXPORT EmberAnimationParser : public Kiln::CodeParser
{
public:
    static EmberAnimationParser &instance();
    virtual ~EmberAnimationParser() = default;

    Kiln::CodeNode *parse(const QString &text,
                          Kiln::CodeNode *old,
                          Kiln::CodeNode *previous,
                          Kiln::RootCode *root,
                          Kiln::CodeParserSyntax *syntax) override;
};
