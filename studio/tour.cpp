#include "tour.h"

#include "mainwindow.h"
#include "projecttreedock.h"
#include "sample.h"
#include "tour_p.h"

#include <hostkit/codesurface.h>
#include <hostkit/editordeck.h>
#include <hostkit/settings.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QListView>
#include <QMessageBox>
#include <QMouseEvent>
#include <QOpenGLWidget>
#include <QPainter>
#include <QProgressDialog>
#include <QScopedValueRollback>
#include <QTest>
#include <QTreeView>

#include <cstdio>

namespace Studio
{

using namespace HostKit;

namespace
{

const int watchIntervalMs = 500;

// There is no window manager where the tour usually runs, so a dialog gets a plain frame.
void paintDialog(QPainter &painter, const QWidget *window, QWidget *dialog)
{
    const QPoint place = dialog->mapToGlobal({}) - window->mapToGlobal({});
    const QRect body(place, dialog->size());
    const int caption = painter.fontMetrics().height() + 8;
    const QRect title(body.left(), body.top() - caption, body.width(), caption);
    const QPalette palette = dialog->palette();
    painter.fillRect(title, palette.color(QPalette::Mid));
    painter.setPen(palette.color(QPalette::WindowText));
    painter.drawText(title, Qt::AlignCenter, dialog->windowTitle());
    painter.drawPixmap(place, dialog->grab());
    painter.setPen(palette.color(QPalette::Dark));
    painter.drawRect(title.united(body).adjusted(-1, -1, 0, 0));
}

} // namespace

Tour::Tour(const QString &project, const QString &pictures)
    : d(std::make_unique<Private>())
{
    d->source = QDir(project).absolutePath();
    d->pictures = QDir(pictures).absolutePath();
}

Tour::~Tour()
{
    d->window.reset();
    d->soundServer.kill();
    d->soundServer.waitForFinished();
}

bool Tour::run()
{
    if (!prepare())
        return false;
    step("project", [this] { return openProject(); });
    step("code", [this] { return showCode(); });
    step("folding", [this] { return foldSections(); });
    step("brackets", [this] { return matchBrackets(); });
    step("completion", [this] { return completeWord(); });
    step("snippet", [this] { return insertSnippet(); });
    step("error", [this] { return typeError(); });
    step("definition", [this] { return typeDefinition(); });
    step("organizer", [this] { return organize(); });
    step("frame", [this] { return showFrame(); });
    step("frame-zoom", [this] { return zoomFrame(); });
    step("frame-play", [this] { return playFrames(); });
    step("frame-align", [this] { return alignFrames(); });
    step("keys", [this] { return showKeys(); });
    step("boxes", [this] { return editBoxes(); });
    step("frame-native", [this] { return paintNatively(); });
    step("sprite", [this] { return showSprite(); });
    step("sprite-draw", [this] { return drawSprite(); });
    step("palette", [this] { return dragColor(); });
    step("thumbnails", [this] { return pickThumbnails(); });
    step("sound", [this] { return playSound(); });
    step("import-sounds", [this] { return importSounds(); });
    step("import-sprites", [this] { return importSprites(); });
    step("import-animations", [this] { return importAnimations(); });
    step("find", [this] { return findText(); });
    step("find-in-files", [this] { return findInFiles(); });
    step("save", [this] { return saveFile(); });
    step("save-report", [this] { return saveReadOnly(); });
    step("settings", [this] { return settings(); });
    step("engines", [this] { return engines(); });
    step("outside-change", [this] { return outsideChange(); });
    step("run-dialog", [this] { return runDialog(); });
    step("run-output", [this] { return runOutput(); });
    step("dark", [this] { return darkPalette(); });
    step("dark-frame", [this] { return darkFrame(); });
    step("dark-sprite", [this] { return darkSprite(); });
    step("dark-sound", [this] { return darkSound(); });
    d->window.reset();
    return d->failures == 0;
}

bool Tour::prepare()
{
    const QString copy = d->directory.path() + QLatin1Char('/') + QDir(d->source).dirName();
    if (!d->directory.isValid() || !copyDirectory(d->source, copy)) {
        std::fprintf(stderr, "tour: cannot copy %s\n", qPrintable(d->source));
        return false;
    }
    if (!QDir().mkpath(d->pictures)) {
        std::fprintf(stderr, "tour: cannot write to %s\n", qPrintable(d->pictures));
        return false;
    }
    d->project = copy;
    QObject::connect(&d->watch, &QTimer::timeout, &d->watch, [this] { endStrayDialog(); });
    d->watch.start(watchIntervalMs);
    d->window = std::make_unique<MainWindow>(Paths::below(d->directory.path()));
    d->window->host().settings().setValue("theme", "light");
    d->window->host().settings().setValue("use_native_open", false);
    d->window->host().settings().apply();
    d->window->resize(1280, 800);
    d->window->show();
    d->window->activateWindow();
    return check(QTest::qWaitForWindowExposed(d->window.get()), "the window appears");
}

void Tour::step(const char *name, const Check &run)
{
    ++d->number;
    d->step = QString::asprintf("%02d-%s", d->number, name);
    d->pictureTaken = false;
    const int failuresBefore = d->failures;
    check(run(), "the step is done");
    if (!d->pictureTaken)
        picture(d->step);
    const bool good = d->failures == failuresBefore;
    std::printf("%s %s\n", good ? "ok    " : "FAILED", qPrintable(d->step));
    std::fflush(stdout);
}

bool Tour::check(bool condition, const char *what)
{
    if (!condition) {
        ++d->failures;
        std::fprintf(stderr, "tour: %s: not so: %s\n", qPrintable(d->step), what);
    }
    return condition;
}

void Tour::picture(const QString &name)
{
    QTest::qWait(viewDelayMs);
    QPixmap pixels = d->window->grab();
    QPainter painter(&pixels);
    // The window's own grab leaves out what a painter adds to a view on OpenGL.
    const QList<QOpenGLWidget *> views = d->window->findChildren<QOpenGLWidget *>();
    for (QOpenGLWidget *view : views) {
        if (view->isVisible())
            painter.drawImage(view->mapTo(d->window.get(), QPoint()), view->grabFramebuffer());
    }
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *top : tops) {
        if (qobject_cast<QDialog *>(top) && top->isVisible())
            paintDialog(painter, d->window.get(), top);
    }
    if (QWidget *popup = QApplication::activePopupWidget())
        painter.drawPixmap(popup->mapToGlobal({}) - d->window->mapToGlobal({}), popup->grab());
    painter.end();
    d->pictureTaken = true;
    check(pixels.save(d->pictures + QLatin1Char('/') + name + QLatin1String(".png")),
          "the picture is written");
}

// Goes to the row as a user of the keyboard does, and opens it with the Return key.
bool Tour::openFromTree(const QString &relativeName)
{
    auto *dock = d->window->findChild<ProjectTreeDock *>();
    dock->selectFile(path(relativeName));
    if (!check(dock->currentFile() == path(relativeName), "the file has a row in the tree"))
        return false;
    dock->view()->setFocus();
    QTest::keyClick(dock->view(), Qt::Key_Return);
    Kiln::ProjectFile *file = d->window->host().deck().currentFile();
    return check(file && file->fileName() == path(relativeName), "the file is shown");
}

void Tour::goToLine(int line)
{
    Kiln::CodeEditor *view = d->window->host().surface()->editor();
    view->setFocus();
    QTest::keyClick(view, Qt::Key_Home, Qt::ControlModifier);
    for (int i = 0; i < line; ++i)
        QTest::keyClick(view, Qt::Key_Down);
    QTest::keyClick(view, Qt::Key_End);
    view->centerCursor(); // the lines around it are in the picture too
}

// Not by the display's own mouse, whose moves come when they like.
void Tour::sendMouse(QWidget *widget, QEvent::Type type, const QPoint &at)
{
    const bool moves = type == QEvent::MouseMove;
    const bool held = type != QEvent::MouseButtonRelease;
    QMouseEvent event(type, at, widget->mapToGlobal(at), moves ? Qt::NoButton : Qt::LeftButton,
                      held ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

// The drag runs in an event loop of its own, so what moves and lets go has to be under way before.
void Tour::dragRow(QListView *view, int row, int target)
{
    QWidget *viewport = view->viewport();
    const auto send = [viewport](QEvent::Type type, const QPoint &at) {
        sendMouse(viewport, type, at);
    };
    const QPoint from = view->visualRect(view->model()->index(row, 0)).center();
    const QRect there = view->visualRect(view->model()->index(target, 0));
    const QPoint gap(from.x(), there.top());
    const int far = QApplication::startDragDistance() + 1;
    send(QEvent::MouseButtonPress, from);
    send(QEvent::MouseMove, from - QPoint(0, far));
    const int moves = 4;
    int moved = 0;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
        if (++moved <= moves) {
            send(QEvent::MouseMove, gap - QPoint(moved % 2, 0));
            return;
        }
        hand.stop();
        send(QEvent::MouseButtonRelease, gap);
    });
    hand.start(20);
    send(QEvent::MouseMove, from - QPoint(0, 2 * far));
    while (hand.isActive())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
}

void Tour::type(const QString &text)
{
    Kiln::CodeEditor *view = d->window->host().surface()->editor();
    view->setFocus();
    for (const QChar character : text) {
        // An open list of words would take the Return key for itself.
        QWidget *words = QApplication::activePopupWidget();
        if (words && character == QLatin1Char('\n'))
            QTest::keyClick(words, Qt::Key_Escape);
        if (character == QLatin1Char('\n'))
            QTest::keyClick(view, Qt::Key_Return);
        else
            QTest::keyClick(view, character.toLatin1());
    }
}

bool Tour::throughDialog(const std::function<void()> &trigger,
                         const std::function<bool(QDialog *)> &act)
{
    const QScopedValueRollback<bool> guard(d->dialogExpected, true);
    bool acted = false;
    QElapsedTimer waited;
    waited.start();
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        poll.stop();
        acted = act(dialog);
        if (dialog->isVisible())
            dialog->reject();
    });
    poll.start(20);
    trigger();
    while (poll.isActive() && waited.elapsed() < dialogTimeoutMs)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    // Without a window manager nobody gives the keyboard back to the window.
    d->window->activateWindow();
    return check(QTest::qWaitForWindowActive(d->window.get()), "the window is active again") &&
           acted;
}

// A dialog that no step has asked for would keep the tour waiting for ever.
void Tour::endStrayDialog()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (d->dialogExpected || !dialog || qobject_cast<QProgressDialog *>(dialog))
        return;
    const auto *box = qobject_cast<QMessageBox *>(dialog);
    const QString told = dialog->windowTitle() + QLatin1Char(' ') + (box ? box->text() : QString());
    check(false, qPrintable(QStringLiteral("no dialog comes: ") + told));
    dialog->reject();
}

QString Tour::text() const
{
    const Kiln::CodeDocument *document = d->window->host().surface()->document();
    return document ? document->toString() : QString();
}

QString Tour::path(const QString &relativeName) const
{
    return d->project + QLatin1Char('/') + relativeName;
}

} // namespace Studio
