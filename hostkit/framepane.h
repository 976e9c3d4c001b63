#pragma once

#include <hostkit/export.h>

#include <kilnx/code/contactboxes.h>

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

#include <memory>

class QToolBar;

namespace Kiln
{
class Animations;
class CodeDocument;
class FrameCode;
class GraphicsWorkspace;
class Interface;
} // namespace Kiln

namespace HostKit
{

class CodeSurface;
class Viewport;

/// Shows, beside the text of animations, the frame that the text cursor stands in: the sprite with
/// the frame before it as an onion skin, and the contact boxes, in the graphics workspace.
///
/// The text is the master. The pane follows it as it is typed; a box that is drawn, moved, resized
/// or deleted in the pane, and a sprite that is dragged, is an edit of the text in one step of
/// undo.
///
/// A frame's sprite is looked for in the sprite files of its project. The property "Origin" of a
/// sprite, a QPoint from its upper left, tells which pixel stands at the frame's offset; without
/// it that is the upper left.
///
/// Fields 3 to 5 of the status bar are the pane's while it is shown: the mouse, the guides and the
/// renderer's name.
class HOSTKIT_EXPORT FramePane : public QWidget
{
    Q_OBJECT

public:
    /// Takes the widget of `workspace` in, which stays the workspace's. The others must outlive the
    /// pane.
    FramePane(Kiln::Interface &host,
              CodeSurface &surface,
              Kiln::GraphicsWorkspace &workspace,
              QWidget *parent = nullptr);
    ~FramePane() override;

    /// Shows the frames of a document that the surface shows, and itself. Hides for null and for a
    /// document without animations.
    void follow(Kiln::CodeDocument *document);

    /// The frame that is shown; null for none.
    Kiln::FrameCode *frame() const;
    Viewport &viewport() const;
    Kiln::GraphicsWorkspace &workspace() const;
    /// Whether the viewport or a button of the pane has the focus.
    bool hasFocusWithin() const;

public Q_SLOTS:
    /// Reads the frame anew.
    void refresh();
    /// The left button draws boxes of a kind, or picks again.
    void drawAttackBoxes(bool on);
    void drawCollisionBoxes(bool on);
    void deleteBoxes();
    /// Keeps it as the option "onion_skin".
    void showOnionSkin(bool on);
    /// Reads the options "onion_skin", "onion_effect", "onion_opacity" (0 to 1), "guide_x" and
    /// "guide_y", which is where the guides were dragged to.
    void reconfig();

Q_SIGNALS:
    void frameEnabled(bool on);
    void attackBoxesDrawn(bool on);
    void collisionBoxesDrawn(bool on);
    void onionSkinShown(bool on);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    class Frames;
    class View;
    struct Private;

    QToolBar *makeToolBar();
    void connectView();
    void drawBoxes(Kiln::ContactBoxCode::BoxType type, bool on);
    void setShown(bool shown);
    bool hasWorkspace() const;
    void takeWorkspace();
    void showStatus();
    void showRenderer();
    void placeOrigin(const QSize &size);

    std::unique_ptr<Private> d;
};

} // namespace HostKit
