// The steps of the tour in the editor of sounds.

#include "tour_p.h"

#include <hostkit/editordeck.h>

#include <kilnx/editors/soundeditor.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/sounds.h>

#include <QAction>
#include <QTest>

namespace Studio
{

namespace
{

const char soundFile[] = "heroes/wren/wren.peal";
/// The stereo sound of the file.
const unsigned int soundRow = 5;

} // namespace

bool Tour::openSound()
{
    if (!openFromTree(QLatin1String(soundFile)))
        return false;
    d->window->host().deck().editor("sounds")->navigateTo(soundRow, 0);
    return true;
}

// By its key, where there is a sound device; where there is none, the view tells that.
bool Tour::playSound()
{
    if (!openSound())
        return false;
    auto *view = d->window->findChild<Kiln::AudioSampleWidget *>(QStringLiteral("wave"));
    const auto *editor =
        qobject_cast<Kiln::SoundEditor *>(d->window->host().deck().editor("sounds"));
    view->setFocus();
    const bool canPlay = view->fault().isEmpty();
    QTest::keyClick(view, Qt::Key_L);
    if (canPlay && !check(QTest::qWaitFor([view] { return view->cursorX() > 0; }, dialogTimeoutMs),
                          "the cursor moves"))
        return false;
    picture(d->step);
    QTest::keyClick(view, Qt::Key_Escape);
    return check(editor->currentSound(), "there is a sound") &&
           check(view->levels().size() == 2 * view->columns(), "both channels are shown") &&
           check(view->state() == Kiln::SoundSample::Stopped, "it is silent again");
}

bool Tour::darkSound()
{
    return openSound();
}

} // namespace Studio
