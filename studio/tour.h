#pragma once

#include <QEvent>
#include <QPoint>
#include <QString>

#include <functional>
#include <memory>

class QDialog;
class QListView;
class QWidget;

namespace Kiln
{
class SpriteEditor;
}

namespace Studio
{

class MainWindow;

/// Walks through Studio with real key strokes and writes a picture of each step, so that a
/// machine without a display can show what Studio does, and a test can tell whether it does.
///
/// Its steps are defined in tour_steps.cpp. It works on a copy of the project in a temporary
/// directory, with settings of its own.
class Tour
{
public:
    /// Pictures go to `pictures`, which is made if it is missing.
    Tour(const QString &project, const QString &pictures);
    ~Tour();

    /// True when every step really happened; what did not is told on the standard error output.
    bool run();

private:
    using Check = std::function<bool()>;

    bool prepare();
    /// Runs a step and takes its picture; `name` is the end of the picture's file name.
    void step(const char *name, const Check &check);
    /// Notes the result of a condition, which is told under `what` when it fails.
    bool check(bool condition, const char *what);
    void picture(const QString &name);

    bool openProject();
    bool showCode();
    bool foldSections();
    bool matchBrackets();
    bool completeWord();
    bool insertSnippet();
    bool undoAll();
    bool typeError();
    bool typeDefinition();
    bool organize();
    bool findText();
    bool findInFiles();
    bool saveFile();
    bool saveReadOnly();
    bool settings();
    bool engines();
    bool outsideChange();
    bool runDialog();
    bool runOutput();
    bool darkPalette();
    // Those of the editor of sprites, in tour_sprites.cpp.
    bool showSprite();
    bool drawSprite();
    bool dragColor();
    bool pickThumbnails();
    bool darkSprite();
    // Those of the editor of sounds, in tour_sounds.cpp.
    bool startSoundServer();
    bool openSound();
    bool playSound();
    bool importSounds();
    bool importSprites();
    bool importAnimations();
    bool throughImport(const char *key, const std::function<bool(QDialog *)> &act);
    bool darkSound();
    // Those of the viewport, in tour_viewport.cpp.
    bool showFrame();
    bool zoomFrame();
    bool playFrames();
    bool alignFrames();
    bool showKeys();
    bool editBoxes();
    bool paintNatively();
    bool darkFrame();

    Kiln::SpriteEditor *spriteEditor() const;
    void dragInSprite(QPoint from, QPoint to);
    static void dragLayer(QListView *view, int row, int target);
    bool openFromTree(const QString &relativeName);
    bool marksBecome(int count) const;
    void goToLine(int line);
    void goToText(const QString &part);
    /// Takes a row of a list with the mouse and lets it go above another.
    void dragRow(QListView *view, int row, int target);
    static void sendMouse(QWidget *widget, QEvent::Type type, const QPoint &at);
    /// Drags from a place of the viewport to another, both in image pixels.
    void dragInView(QPoint from, QPoint to);
    void type(const QString &text);
    /// Triggers an action whose modal dialog is shown by `act`, which must close the dialog.
    bool throughDialog(const std::function<void()> &trigger,
                       const std::function<bool(QDialog *)> &act);
    void endStrayDialog();
    QString text() const;
    QString path(const QString &relativeName) const;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Studio
