#include "application.h"
#include "mainwindow.h"

#include <QApplication>
#include <QCommandLineParser>

namespace
{

/// Help and version are told without a display, too.
void tellAndLeave(QCommandLineParser &parser, int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    parser.parse(arguments);
    if (!parser.isSet(QStringLiteral("help")) && !parser.isSet(QStringLiteral("version")))
        return;
    const QCoreApplication application(argc, argv);
    parser.process(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    Studio::prepareApplication();
    QApplication::setApplicationVersion(QStringLiteral(STUDIO_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The sample host of kilnx."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("project"),
                                 QStringLiteral("Project directories to open, or files in them."));
    const QCommandLineOption engine(
        QStringLiteral("engine"), QStringLiteral("Load an engine from a library; may be repeated."),
        QStringLiteral("library"));
    parser.addOption(engine);
    tellAndLeave(parser, argc, argv);
    QApplication application(argc, argv);
    parser.process(application);
    const QStringList projects = parser.positionalArguments();

    Studio::MainWindow window(HostKit::Paths::standard(), parser.values(engine));
    window.show();
    if (projects.isEmpty())
        window.reopenLast();
    window.open(projects);
    return QApplication::exec();
}
