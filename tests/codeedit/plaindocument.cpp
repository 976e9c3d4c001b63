#include "plaindocument.h"

#include <QRegularExpression>

using namespace Kiln;

class PlainDocument::Parser : public CodeParser
{
public:
    CodeNode *parse(const QString &text,
                    CodeNode *,
                    CodeNode *,
                    RootCode *,
                    CodeParserSyntax *syntax) override
    {
        if (!syntax)
            return nullptr;
        static const QRegularExpression marked(QStringLiteral("\\b(bad|old|hmm)\\b|<b>"));
        static const QString open = QStringLiteral("(<{");
        static const QString close = QStringLiteral(")>}");
        for (auto word = marked.globalMatch(text); word.hasNext();) {
            const QRegularExpressionMatch match = word.next();
            const QString what = match.captured();
            const QString message = QStringLiteral("%1 at %2").arg(what).arg(match.capturedStart());
            const auto report = what == QLatin1String("bad")   ? &CodeParserSyntax::setError
                                : what == QLatin1String("old") ? &CodeParserSyntax::setDeprecation
                                                               : &CodeParserSyntax::setWarning;
            (syntax->*report)(CodeParserSyntax::Default, message, match.capturedStart(),
                              match.capturedEnd());
        }
        for (int i = 0; i < text.size(); ++i) {
            if (open.contains(text.at(i)) || close.contains(text.at(i)))
                syntax->addParenthesis(open.contains(text.at(i)), text.at(i), i);
        }
        return nullptr;
    }
};

PlainDocument::PlainDocument(const QString &text)
    : m_parser(std::make_unique<Parser>())
{
    setOption(QStringLiteral("parseCode"), true, false, false);
    setOption(QStringLiteral("modelCode"), true, false, false);
    setOption(QStringLiteral("highlightCode"), true, false, false);
    setParser(m_parser.get());
    fromString(text);
}

PlainDocument::~PlainDocument()
{
    setParser(nullptr);
}

int PlainDocument::foldingKind(const QString &line)
{
    if (line.startsWith(QLatin1String("[[")))
        return 1;
    if (line.startsWith(QLatin1Char('[')))
        return 1 | 4;
    return line == QLatin1String("-") ? 0 : 2;
}

QString sectionedText(int sections, int bodies)
{
    QStringList lines;
    for (int section = 0; section < sections; ++section) {
        lines << QStringLiteral("[section %1]").arg(section) << QStringLiteral("-");
        for (int inner = 0; inner < 2; ++inner) {
            lines << QStringLiteral("[[inner %1]]").arg(inner);
            for (int body = 0; body < bodies; ++body)
                lines << QStringLiteral("    line %1 of %2").arg(body).arg(inner);
        }
    }
    return lines.join(QLatin1Char('\n'));
}
