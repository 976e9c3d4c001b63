#include "figure.h"
#include "packing.h"
#include "scenery.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <cstdio>

namespace
{

bool save(const QDir &directory, const QString &name, const QImage &image)
{
    if (directory.mkpath(QStringLiteral(".")) && image.save(directory.filePath(name + ".png")))
        return true;
    QTextStream(stderr) << "kiln-art: cannot write " << name << " to " << directory.path() << '\n';
    return false;
}

bool saveFigure(const QDir &directory, Figure figure)
{
    bool isSaved = true;
    for (const Pose &pose : posesOf(figure))
        isSaved &= save(directory, pose.name, drawFigure(figure, pose, frameSize, frameOrigin));
    for (int variant : {1, 2})
        isSaved &=
            save(directory, QStringLiteral("variant_%1").arg(variant),
                 drawFigure(figure, posesOf(figure).first(), frameSize, frameOrigin, variant));
    return isSaved;
}

bool saveScenery(const QDir &directory, const QVector<Scenery> &pictures)
{
    bool isSaved = true;
    for (const Scenery &picture : pictures)
        isSaved &= save(directory, picture.name, picture.image);
    return isSaved;
}

} // namespace

/// Writes every frame of both figures, a sample of each in other clothes, the furniture of both
/// stages and the effects as PNG files, a folder each, below the directory that is named; with
/// "--pack", the sprite files of the sample project that the directory holds.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const bool packs = arguments.removeAll(QStringLiteral("--pack")) > 0;
    if (arguments.size() != 1) {
        std::fputs("kiln-art [--pack] DIRECTORY: draws the pictures of the sample project\n",
                   stderr);
        return 2;
    }
    const QDir target(arguments.first());
    if (packs)
        return packProject(target) ? 0 : 1;
    const bool isSaved = saveFigure(target.filePath("wren"), Figure::Wren) &
                         saveFigure(target.filePath("moss"), Figure::Moss) &
                         saveScenery(target.filePath("harbour"), harbour()) &
                         saveScenery(target.filePath("rooftops"), rooftops()) &
                         saveScenery(target.filePath("effects"), effects());
    return isSaved ? 0 : 1;
}
