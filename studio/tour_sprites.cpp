// The steps of the tour in the editor of sprites.

#include "tour_p.h"

#include "mainactions.h"

#include <hostkit/editordeck.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/sprite.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>

#include <QAction>
#include <QDockWidget>
#include <QListView>
#include <QTest>

namespace Studio
{

using namespace HostKit;

namespace
{

const char spriteFile[] = "heroes/wren/wren.gleam";

} // namespace

Kiln::SpriteEditor *Tour::spriteEditor() const
{
    return qobject_cast<Kiln::SpriteEditor *>(d->window->host().deck().editor("sprites"));
}

/// Drags with the current tool from a pixel of the sprite to another.
void Tour::dragInSprite(QPoint from, QPoint to)
{
    const Kiln::ImageRenderer &view = *spriteEditor()->renderer();
    const QPoint middle(int(view.zoom() / 2), int(view.zoom() / 2));
    sendMouse(view.widget(), QEvent::MouseButtonPress, view.toScreen(from) + middle);
    sendMouse(view.widget(), QEvent::MouseMove, view.toScreen((from + to) / 2) + middle);
    sendMouse(view.widget(), QEvent::MouseMove, view.toScreen(to) + middle);
    sendMouse(view.widget(), QEvent::MouseButtonRelease, view.toScreen(to) + middle);
}

bool Tour::showSprite()
{
    if (!openFromTree(QLatin1String(spriteFile)))
        return false;
    const Kiln::SpriteEditor *editor = spriteEditor();
    QTest::qWait(50); // the view takes its place
    const Kiln::ImageRenderer &view = *editor->renderer();
    const QRect shown(view.toScreen({0, 0}), view.canvas.size * view.zoom());
    return check(editor->currentSprite(), "there is a sprite") &&
           check(view.canvas.flatten() == editor->currentSprite()->image(),
                 "it is on the canvas") &&
           check(view.widget()->rect().contains(shown.center()), "it is in sight") &&
           check(!d->window->host().status().field(Kiln::Interface::GuidesField).isEmpty(),
                 "the status bar tells what the tool does");
}

// Draws on a layer of its own that is put below the sprite, and takes all that back.
bool Tour::drawSprite()
{
    Kiln::SpriteEditor *editor = spriteEditor();
    Kiln::ImageRenderer &view = *editor->renderer();
    const QImage before = view.canvas.flatten();
    d->window->findChild<QAction *>(QStringLiteral("spr_layer_add"))->trigger();
    view.widget()->setFocus();
    QTest::keyClick(view.widget(), Qt::Key_P);
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(view.widget(), Qt::Key_Plus);
    view.canvas.palette->setForegroundIndex(24);
    const QPoint corner(view.canvas.size.width() - 1, view.canvas.size.height() - 1);
    dragInSprite({2, corner.y() - 12}, {corner.x() - 8, corner.y() - 4});
    view.canvas.palette->setForegroundIndex(30);
    dragInSprite({4, corner.y() - 5}, {corner.x() - 10, corner.y() - 10});
    auto *layers = d->window->findChild<QListView *>(QStringLiteral("spr_layers_list"));
    dragLayer(layers, 0, 1);
    const bool drawn = check(view.canvas.layers.rowCount() == 2, "there is a second layer") &&
                       check(view.canvas.flatten() != before, "it is drawn on") &&
                       check(view.canvas.layers.at(0)->name != QLatin1String("Layer 2"),
                             "the drag has put it below");
    picture(d->step);
    for (int i = 0; i < 4; ++i)
        d->window->actions()->undo->trigger();
    return drawn && check(view.canvas.flatten() == before, "undo takes it all back") &&
           check(!editor->isModified(), "nothing is left to save");
}

// A colour goes to another place in the sprite's palette, and back again.
bool Tour::dragColor()
{
    auto *panel = qobject_cast<Kiln::PaletteEditor *>(d->window->host().extraEditor(1));
    Kiln::Palette *own = spriteEditor()->currentSprite()->palette();
    if (!check(panel && own && panel->currentPalette() == own, "the sprite's palette is shown"))
        return false;
    Kiln::PaletteWidget *grid = panel->widget();
    const auto middleOf = [grid](int cell) {
        QPoint at(grid->width() / 2, 0);
        while (grid->cellAt({at.x() - 1, 0}) >= 0)
            --at.rx();
        const int size = grid->sizeHint().width() / 16;
        return at + QPoint(cell % 16 * size + size / 2, cell / 16 * size + size / 2);
    };
    const Kiln::RGBA second = own->colors()[2];
    sendMouse(grid, QEvent::MouseButtonPress, middleOf(2));
    sendMouse(grid, QEvent::MouseMove, middleOf(20));
    sendMouse(grid, QEvent::MouseButtonRelease, middleOf(20));
    const bool moved = check(own->colors()[20] == second, "the color has gone to its place");
    picture(d->step);
    d->window->actions()->undo->trigger();
    return moved && check(own->colors()[2] == second, "undo takes it back") &&
           check(!spriteEditor()->isModified(), "nothing is left to save");
}

// Three pictures become an animation, which undo takes back.
bool Tour::pickThumbnails()
{
    auto *list = d->window->findChild<QListView *>(QStringLiteral("thumb_list"));
    auto *project = d->window->host().currentProject();
    auto *text = dynamic_cast<Kiln::CodeDocument *>(
        project ? project->file(Kiln::Project::FileID::Animations) : nullptr);
    if (!check(list && text, "there are pictures and animations"))
        return false;
    d->window->findChild<QDockWidget *>(QStringLiteral("dock_panel_thumbnails"))->raise();
    const auto click = [list](int row, Qt::KeyboardModifiers modifiers) {
        QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers,
                          list->visualRect(list->model()->index(row, 0)).center());
    };
    const auto isMade = [list](int row) {
        return !list->model()->index(row, 0).data(Qt::DecorationRole).value<QImage>().isNull();
    };
    const auto areMade = [&] { return isMade(0) && isMade(4) && isMade(8) && isMade(12); };
    if (!check(QTest::qWaitFor(areMade), "pictures are made"))
        return false;
    click(2, Qt::NoModifier);
    click(4, Qt::ShiftModifier);
    d->window->findChild<QAction *>(QStringLiteral("thumb_new_selected"))->trigger();
    const bool made =
        check(spriteEditor()->currentSprite()->index() == 2, "the one that was clicked is shown") &&
        check(text->isModified(), "there is a new animation");
    picture(d->step);
    text->undo();
    click(0, Qt::NoModifier);
    return made && check(!text->isModified(), "undo takes it back");
}

/// Takes a row of a list with the mouse and lets it go below another.
void Tour::dragLayer(QListView *view, int row, int target)
{
    QWidget *viewport = view->viewport();
    const QPoint from = view->visualRect(view->model()->index(row, 0)).center();
    const QPoint to = view->visualRect(view->model()->index(target, 0)).center() + QPoint(0, 4);
    sendMouse(viewport, QEvent::MouseButtonPress, from);
    sendMouse(viewport, QEvent::MouseMove, (from + to) / 2);
    sendMouse(viewport, QEvent::MouseMove, to);
    sendMouse(viewport, QEvent::MouseButtonRelease, to);
}

bool Tour::darkSprite()
{
    return check(Theme::isDark(), "the palette is dark") &&
           openFromTree(QLatin1String(spriteFile)) &&
           check(spriteEditor()->currentSprite(), "the sprite is shown");
}

} // namespace Studio
