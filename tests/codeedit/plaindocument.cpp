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
        static const QRegularExpression marked(QString("\\b(bad|old|hmm)\\b|<b>"));
        static const QString open = QString("(<{");
        static const QString close = QString(")>}");
        for (auto word = marked.globalMatch(text); word.hasNext();) {
            const QRegularExpressionMatch match = word.next();
            const QString what = match.captured();
            const QString message = QString("%1 at %2").arg(what).arg(match.capturedStart());
            const auto report = what == QLatin1String("bad")   ? &CodeParserSyntax::setError
                                : what == QLatin1String("old") ? &CodeParserSyntax::setDeprecation
                                                               : &CodeParserSyntax::setWarning;
            (syntax->*report)(CodeParserSyntax::Default, message, match.capturedStart(),
                              match.capturedEnd());
        }
        bool isOpen = false;
        for (int i = 0; i < text.size(); ++i) {
            isOpen = isOpen != (text.at(i) == '!');
            if (text.at(i) == '!')
                syntax->addParenthesis(isOpen, '!', i);
            else if (open.contains(text.at(i)) || close.contains(text.at(i)))
                syntax->addParenthesis(open.contains(text.at(i)), text.at(i), i);
        }
        return nullptr;
    }
};

PlainDocument::PlainDocument(const QString &text)
    : m_parser(std::make_unique<Parser>())
{
    setOption(QString("parseCode"), true, false, false);
    setOption(QString("modelCode"), true, false, false);
    setOption(QString("highlightCode"), true, false, false);
    setParser(m_parser.get());
    fromString(text);
}

PlainDocument::~PlainDocument()
{
    setParser(nullptr);
}

int PlainDocument::foldingKind(const QString &line)
{
    if (line.trimmed().startsWith(QLatin1String("[[")))
        return 1;
    if (line.startsWith(QLatin1Char('[')))
        return 1 | 4;
    if (line == QLatin1String("~"))
        return 3;
    return line == QLatin1String("-") ? 0 : 2;
}

QString sectionedText(int sections, int bodies)
{
    QStringList lines;
    for (int section = 0; section < sections; ++section) {
        lines << QString("[section %1]").arg(section) << QString("-");
        for (int inner = 0; inner < 2; ++inner) {
            lines << QString("[[inner %1]]").arg(inner);
            for (int body = 0; body < bodies; ++body)
                lines << QString("    line %1 of %2").arg(body).arg(inner);
        }
    }
    return lines.join(QLatin1Char('\n'));
}
