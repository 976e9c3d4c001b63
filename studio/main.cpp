#include "mainwindow.h"
#include "tour.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char **argv)
{
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kiln-studio"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kiln Studio"));
    QApplication::setApplicationVersion(QStringLiteral(STUDIO_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The sample host of kilnx."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("project"),
                                 QStringLiteral("The project directory to open."));
    const QCommandLineOption tour(QStringLiteral("tour"),
                                  QStringLiteral("Walk through Studio, write a picture a step."),
                                  QStringLiteral("directory"));
    parser.addOption(tour);
    parser.process(application);
    const QString project = parser.positionalArguments().value(0);
    if (parser.isSet(tour))
        return Studio::Tour(project, parser.value(tour)).run() ? 0 : 1;

    Studio::MainWindow window(Studio::Paths::standard());
    window.show();
    if (project.isEmpty())
        window.reopenLast();
    else
        window.openProject(project);
    return QApplication::exec();
}
