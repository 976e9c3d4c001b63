#include "application.h"
#include "tour.h"

#include <cstdio>

int main(int argc, char **argv)
{
    Studio::prepareApplication();
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "kiln-tour PICTURES PROJECT\n"
                             "Walks through Kiln Studio on a copy of the project and writes a "
                             "picture a step.\n");
        return 2;
    }
    return Studio::Tour(arguments.at(2), arguments.at(1)).run() ? 0 : 1;
}
