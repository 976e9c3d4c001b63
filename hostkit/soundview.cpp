#include <hostkit/soundview.h>

#include <kilnx/forms/sprimport.h>
#include <kilnx/project/interface.h>

namespace HostKit
{

void SoundView::identifiers(const QStringList &paths, QList<QVariant> &out)
{
    Kiln::SprImport dialog(interface->mainWindow(), tr("Add sounds"), paths);
    dialog.exec();
    const QVector<Kiln::SprImport::Answer> answers = dialog.answers();
    for (const Kiln::SprImport::Answer &answer : answers)
        out.append(answer.identifier);
}

} // namespace HostKit
