#pragma once

class QMainWindow;
class QWidget;

namespace Studio
{

/// Moves the focus between the editor and the docks by the keyboard. In a text, the Tab key
/// writes, so it does not lead out of there.
class PanelCycle
{
public:
    /// Gives the focus to the panel that is `by` places further: the editor, then the docks that
    /// can be seen, in reading order, and around again.
    static void step(QMainWindow *window, int by);
    /// Gives the focus to what had it last in a panel, or else to what a user would go to.
    static void enter(QWidget *panel);
};

} // namespace Studio
