// A whole host of its own: a window, an engine from a library, a project, a file to edit and save.
#include <hostkit/enginelibraries.h>
#include <hostkit/filedesk.h>
#include <hostkit/hostbase.h>
#include <hostkit/savedesk.h>

#include <QtWidgets/QApplication>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QMenu>

#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "host LIBRARY DIRECTORY FILE\n");
        return 2;
    }
    QMainWindow window;
    HostKit::HostBase host(&window, HostKit::Paths::standard());
    QString fault;
    if (!host.engines().load(arguments[1], &fault)) {
        std::fprintf(stderr, "%s\n", qPrintable(fault));
        return 1;
    }
    host.makeCodeEditors();
    host.menu("file")->addAction("Save", &host.saving(), &HostKit::SaveDesk::save,
                                 QKeySequence::Save);
    if (!host.openProject(arguments[2]) || !host.desk().openFile(arguments[3], 0))
        return 1;
    window.resize(900, 600);
    window.show();
    return QApplication::exec();
}
