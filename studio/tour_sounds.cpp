// The steps of the tour in the editor of sounds.

#include "sample.h"
#include "tour_p.h"

#include <hostkit/editordeck.h>
#include <hostkit/filedesk.h>

#include <kilnx/editors/soundeditor.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/sounds.h>

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QStandardPaths>
#include <QTest>

namespace Studio
{

namespace
{

const char soundFile[] = "heroes/wren/wren.peal";
/// The stereo sound of the file.
const unsigned int soundRow = 5;
/// A busy machine may need long.
const int serverTimeoutMs = 20000;

} // namespace

bool Tour::openSound()
{
    if (!openFromTree(QLatin1String(soundFile)))
        return false;
    d->window->host().deck().editor("sounds")->navigateTo(soundRow, 0);
    return true;
}

/// A sound server that plays to nobody, so that sounds are seen playing and not heard. It must
/// start before anything asks for a device. Where the program is not there, no device is.
bool Tour::startSoundServer()
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("pulseaudio"));
    if (program.isEmpty())
        return true;
    const QString socket = d->directory.filePath(QStringLiteral("sound"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), d->directory.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), d->directory.path());
    d->soundServer.setProcessEnvironment(environment);
    const QString entry = QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=");
    d->soundServer.start(program, {"-n", "--daemonize=no", "--exit-idle-time=-1", "-L",
                                   "module-null-sink", "-L", entry + socket});
    qputenv("PULSE_SERVER", "unix:" + socket.toLocal8Bit());
    return QTest::qWaitFor([&socket] { return QFileInfo::exists(socket); }, serverTimeoutMs);
}

// By its key, where there is a sound device; where there is none, the view tells that.
bool Tour::playSound()
{
    if (!check(startSoundServer(), "the sound server is there") || !openSound())
        return false;
    auto *view = d->window->findChild<Kiln::AudioSampleWidget *>(QStringLiteral("wave"));
    const auto *editor =
        qobject_cast<Kiln::SoundEditor *>(d->window->host().deck().editor("sounds"));
    view->setFocus();
    const bool canPlay = view->fault().isEmpty();
    if (!check(canPlay || d->soundServer.state() == QProcess::NotRunning, "the server is used"))
        return false;
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

// The dialog of sounds plays one, and that of sprites shows what a search has left.
bool Tour::importSounds()
{
    return openSound() && throughImport("snd_import_proj", [this](QDialog *dialog) {
               auto *play = dialog->findChild<QPushButton *>(QStringLiteral("play"));
               play->click();
               picture(d->step);
               return check(play->isEnabled(), "the sound can be played");
           });
}

bool Tour::importSprites()
{
    return openFromTree(QLatin1String("heroes/wren/wren.gleam")) &&
           throughImport("spr_import_proj", [this](QDialog *dialog) {
               QTest::keyClicks(dialog->findChild<QLineEdit *>(QStringLiteral("search")),
                                QStringLiteral("a"));
               dialog->findChild<QPushButton *>(QStringLiteral("add"))->click();
               picture(d->step);
               const auto *list = dialog->findChild<QListView *>(QStringLiteral("destination"));
               return check(list->model()->rowCount() > 0, "something is to be imported");
           });
}

// From a second copy of the project, open beside.
bool Tour::importAnimations()
{
    HostKit::HostBase &host = d->window->host();
    const QString second = d->directory.filePath(QStringLiteral("second"));
    if (!check(copyDirectory(d->source, second) && host.openBeside(second), "both are open") ||
        !host.desk().openFile(second + QLatin1String("/heroes/wren/wren.flick"), 0))
        return false;
    const auto choose = [this](QDialog *dialog) {
        dialog->findChild<QListView *>(QStringLiteral("source"))->selectAll();
        dialog->findChild<QPushButton *>(QStringLiteral("add"))->click();
        picture(d->step);
        const auto *list = dialog->findChild<QListView *>(QStringLiteral("destination"));
        return check(list->model()->rowCount() > 0, "something is to be imported");
    };
    const bool isShown =
        throughDialog([&host] { host.actionByKey("anim_import_proj")->trigger(); }, choose);
    return check(host.closeProject(), "the second is closed") && isShown;
}

/// From the other hero, with all that its list shows selected.
bool Tour::throughImport(const char *key, const std::function<bool(QDialog *)> &act)
{
    const auto choose = [this, &act](QDialog *dialog) {
        auto *projects = dialog->findChild<QComboBox *>(QStringLiteral("projects"));
        projects->setCurrentIndex(projects->findText(QStringLiteral("moss"), Qt::MatchContains));
        auto *list = dialog->findChild<QListView *>(QStringLiteral("source"));
        list->setCurrentIndex(list->model()->index(0, 0));
        list->selectAll();
        return check(projects->currentIndex() >= 0, "the other hero is offered") && act(dialog);
    };
    return throughDialog([this, key] { d->window->host().actionByKey(key)->trigger(); }, choose);
}

bool Tour::darkSound()
{
    return openSound();
}

} // namespace Studio
