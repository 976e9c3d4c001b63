#include "application.h"
#include "mainwindow.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char **argv)
{
    Studio::prepareApplication();
    QApplication application(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(STUDIO_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The sample host of kilnx."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("project"),
                                 QStringLiteral("Project directories to open."));
    const QCommandLineOption engine(
        QStringLiteral("engine"), QStringLiteral("Load an engine from a library; may be repeated."),
        QStringLiteral("library"));
    parser.addOption(engine);
    parser.process(application);
    const QStringList projects = parser.positionalArguments();

    Studio::MainWindow window(HostKit::Paths::standard(), parser.values(engine));
    window.show();
    if (projects.isEmpty())
        window.reopenLast();
    for (const QString &project : projects)
        window.host().openBeside(project);
    return QApplication::exec();
}
