#pragma once

#include "emberline.h"

#include <kilnx/code/codeparser.h>

/// The colours of a line of Ember code, and where its problems are told. It takes the null sink of
/// a call that must not paint, and then does nothing.
class EmberPaint
{
public:
    using Token = Kiln::CodeParserSyntax::TokenType;
    using Range = EmberLine::Range;

    EmberPaint(Kiln::CodeParserSyntax *syntax, const QString &text);

    void token(Token token, Range range);
    void error(Token token, const QString &message, Range range);
    void warning(Token token, const QString &message, Range range);
    void deprecation(Token token, const QString &message, Range range);

    void comment(const EmberLine &line);
    void header(const EmberLine &line);
    /// The value of an entry, by its type; `entry` may be null.
    void value(const EmberLanguage::Entry *entry, Range range);
    /// Reports the brackets of a line, but not those in double quotes.
    void brackets(Range range);

private:
    void formula(Range range);

    Kiln::CodeParserSyntax *m_syntax;
    const QString &m_text;
};
