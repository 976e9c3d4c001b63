// spark-check LIBRARY: edits a file of Spark without sense, some thousand times, and compares it
// after each edit with a fresh one. Write yours first: it finds what a parser forgets.
#include <enginetest/randomrun.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/parentproject.h>

#include <QFile>
#include <QGuiApplication>
#include <QLibrary>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstdio>

using Kiln::Project;

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "minimal");
    const QGuiApplication application(argc, argv);
    QLibrary library(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("spark"));
    const auto entry =
        reinterpret_cast<Kiln::EnginePlugin *(*)()>(library.resolve("kilnxEnginePlugin"));
    if (!entry) {
        std::fprintf(stderr, "%s\n", qPrintable(library.errorString()));
        return 2;
    }

    EngineTest::LineMaker lines;
    lines.isHeader = [](const QString &line) {
        const QString code = line.section(QLatin1Char('#'), 0, 0).simplified();
        return code.contains(QRegularExpression(QStringLiteral("^\\[ ?\\w+ ?\\]$")));
    };
    lines.sections = QStringList{"[hero]\nspeed = 140\ncalls = by a (whistle)\n\n",
                                 "[boss] # the first\nspeed = 1.5 # slow\n",
                                 "[]\nspeed = 1\n",
                                 "# a comment\n\n",
                                 "stray = 2\n[x]\n[y]\na = 1\n",
                                 QString("# a comment\n").repeated(70)};
    lines.headers = QStringList{"[a]", " [ b ] # c", "[", "[a b]", "[a] b", "a]", "[[a]]"};
    lines.entries = QStringList{"a = 1",   "  a = b # c", "a =",   "= 1",       "a",     "a b = 1",
                                "b = nan", "b=1e3",       "b = (", "c = x = y", "# [a]", ""};
    lines.characters = QStringLiteral("[]=#\n\nab 1.(");
    lines.values = QStringList{"1", "-2.5", "text", "two\nlines", "a # b", "", "[c]"};
    lines.names = QStringList{"a", "b", "speed", "not a name", ""};
    lines.searches = QStringList{"(\\w)(\\w+)", "= *(\\w+)\\n", "\\[(.)"};
    lines.replacements = QStringList{"= 1", "[%1", "x"};

    for (quint32 seed = 1; seed <= 8; ++seed) {
        const QTemporaryDir directory;
        QFile definition(directory.filePath(QStringLiteral("check.spark")));
        if (!definition.open(QIODevice::WriteOnly) || definition.write("[a]\nb = 1\n") < 0)
            return 2;
        definition.close();
        // In a project, as an editor has it: only there is the comment of a line kept.
        const QList<Project *> projects = entry()->openProject(directory.path())->openedProjects();
        auto *document =
            dynamic_cast<Kiln::CodeDocument *>(projects.first()->file(Project::FileID::Definition));
        const auto makeFresh = [&] {
            return dynamic_cast<Kiln::CodeDocument *>(
                entry()->engine().createFile(Project::FileID::Code, nullptr));
        };
        QString fault =
            EngineTest::runEdits(*document, makeFresh, lines, {seed, 600, seed % 2 == 0});
        if (fault.isEmpty())
            fault = EngineTest::runUndo(*document, lines, {seed, 100});
        projects.first()->release();
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "seed %u: %s\n", seed, qPrintable(fault));
            return 1;
        }
    }
    return 0;
}
