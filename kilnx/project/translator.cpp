#include <kilnx/project/translator.h>

#include <QtCore/QCoreApplication>

namespace Kiln
{

namespace
{

/// A row of the table. A text that an earlier row has already is taken from there.
struct Row {
    const char *text;
    const char *hint = nullptr;
    int earlier = -1;
};

// clang-format off
constexpr Row rows[] = {
    {QT_TRANSLATE_NOOP("Kiln::Translator", "System")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "No document.")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Code toolbar"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the code toolbar in all code editors")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Centralize origin"), QT_TRANSLATE_NOOP("Kiln::Translator", "Place the origin at the center of the workspace")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Main cross"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the main cross")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Secondary cross"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the secondary cross")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Extra cross"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the extra cross")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Rulers"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the Rulers")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Guide lines"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the Guide lines")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Attack Box"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the Attack contact boxes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Collision Box"), QT_TRANSLATE_NOOP("Kiln::Translator", "Show/Hide the Collision contact boxes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Code snippets")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Insert code snippet"), QT_TRANSLATE_NOOP("Kiln::Translator", "Insert the current code snippet")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "New code snippet"), QT_TRANSLATE_NOOP("Kiln::Translator", "Create a new code snippet")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Edit code snippet"), QT_TRANSLATE_NOOP("Kiln::Translator", "Edit the current code snippet")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Code")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Go to line..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Go to the specifed line")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous syntax error"), QT_TRANSLATE_NOOP("Kiln::Translator", "Go to the previous syntax error")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next syntax error"), QT_TRANSLATE_NOOP("Kiln::Translator", "Go to the next syntax error")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous deprecation"), QT_TRANSLATE_NOOP("Kiln::Translator", "Go to the previous deprecation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next deprecation"), QT_TRANSLATE_NOOP("Kiln::Translator", "Go to the next deprecation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Comment/Uncomment selection"), QT_TRANSLATE_NOOP("Kiln::Translator", "Comment/Uncomment all selected lines")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Fold all code blocks")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Unfold all coded blocks")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "New")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Open")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save as...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Palettes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Clear"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all palettes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Clear all unused"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all unused palettes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add"), QT_TRANSLATE_NOOP("Kiln::Translator", "Add one or more palettes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Delete"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current palette")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all duplicates"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all duplicate palettes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Change..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Define new colors to the palette from a file...")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Save the palette as a file..."), 27},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Remap"), QT_TRANSLATE_NOOP("Kiln::Translator", "Open the palette Remap tool")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Undo")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Redo")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Exchange position of selected colors")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Sets the color of the selected slots")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Apply to the sprites"), QT_TRANSLATE_NOOP("Kiln::Translator", "Apply the current palette to the specified sprites")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous palette")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next palette")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Open palette"), QT_TRANSLATE_NOOP("Kiln::Translator", "Open palette from a file...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save current palette"), QT_TRANSLATE_NOOP("Kiln::Translator", "Save current palette to a new file...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Animations")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Edit code"), QT_TRANSLATE_NOOP("Kiln::Translator", "Edit animation code in code editor")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Add a new animation"), 31},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current animation"), 32},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Duplicate"), QT_TRANSLATE_NOOP("Kiln::Translator", "Duplicate the current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Edit animation code"), QT_TRANSLATE_NOOP("Kiln::Translator", "Edit the code of current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save as animated GIF..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Save the current animation as an animated GIF...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Play"), QT_TRANSLATE_NOOP("Kiln::Translator", "Play the current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Stop"), QT_TRANSLATE_NOOP("Kiln::Translator", "Stop the animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move 1px to the left"), QT_TRANSLATE_NOOP("Kiln::Translator", "Move the sprite 1px to the left")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move 1px up"), QT_TRANSLATE_NOOP("Kiln::Translator", "Move the sprite 1px up")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move 1px to the right"), QT_TRANSLATE_NOOP("Kiln::Translator", "Move the sprite 1px to the right")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move 1px down"), QT_TRANSLATE_NOOP("Kiln::Translator", "Move the sprite 1px down")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add frame"), QT_TRANSLATE_NOOP("Kiln::Translator", "Add a new frame in the animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Delete frame"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add Attack box"), QT_TRANSLATE_NOOP("Kiln::Translator", "Enable/disable the drawing mode for Attack contact box")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add Collision box"), QT_TRANSLATE_NOOP("Kiln::Translator", "Enable/disable the drawing mode for Collision contact box")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Delete selected Contact boxes"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all selected Contact boxes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Delete all Contact boxes"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all Contact boxes of current frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Delete all Contact boxes of current animation"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove all Contact boxs of current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Switch Contact box type"), QT_TRANSLATE_NOOP("Kiln::Translator", "Switch type of all selected Contact boxes")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Copy Contact boxes of previous frame"), QT_TRANSLATE_NOOP("Kiln::Translator", "Copy all Contact boxes of previous frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Use these Contact boxes in all other instances of this frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Optimize"), QT_TRANSLATE_NOOP("Kiln::Translator", "Optimize animation code")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Export..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Export one or more animations to file system...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Import..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more animations from file system...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Import from another project..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more animations from another opened project...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Apply time to all next frames")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Apply flip to all next frames")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Apply offset to all next frames")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Apply scale to all next frames")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Alignment Tool")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Frames:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "X axis:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Y axis:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Flip:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "None")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Vertically")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Horizontally")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Both")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "X scale:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Y scale:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Angle:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Time:")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "OnionSkin"), QT_TRANSLATE_NOOP("Kiln::Translator", "Enable OnionSkin")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Sprites")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous sprite"), QT_TRANSLATE_NOOP("Kiln::Translator", "Previous sprite")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next sprite"), QT_TRANSLATE_NOOP("Kiln::Translator", "Next sprite")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move canvas")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move selection")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Rectangle selection")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Free selection")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Color picker")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Pen")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Eraser")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Remap pen")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Paint bucket")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Normal")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Add one or more sprites"), 31},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Multiply")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Screen")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Overlay")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Darken")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Lighten")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Color Dodge")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Color Burn")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Hard Light")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Soft Light")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Difference")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Exclusion")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Layers")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Add a new layer"), 31},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current layer"), 32},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Duplicate the current layer"), 50},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Merge visible"), QT_TRANSLATE_NOOP("Kiln::Translator", "Merge all visible layers into one")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Merge all"), QT_TRANSLATE_NOOP("Kiln::Translator", "Merge all layers into one")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current sprite"), 32},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Change image..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Change the image of the sprite from a file...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save image changes"), QT_TRANSLATE_NOOP("Kiln::Translator", "Save changes on current sprite")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save image..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Save one or more sprites as image files...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Crop image"), QT_TRANSLATE_NOOP("Kiln::Translator", "Remove free borders from the current sprite")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Duplicate the current sprite"), 50},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Export one or more sprites to file system..."), 70},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more sprites from file system..."), 71},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more sprites from another opened project..."), 72},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Switch to the frame's sprite"), QT_TRANSLATE_NOOP("Kiln::Translator", "Switch to the sprite of the current frame")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Original"), QT_TRANSLATE_NOOP("Kiln::Translator", "Split the viewport with the Original size at left")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Image")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Properties"), QT_TRANSLATE_NOOP("Kiln::Translator", "Canvas properties (format and size)")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Resize"), QT_TRANSLATE_NOOP("Kiln::Translator", "Resize all layers")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Rotation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Rotate"), QT_TRANSLATE_NOOP("Kiln::Translator", "Rotate all layers")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Flip horizontally"), QT_TRANSLATE_NOOP("Kiln::Translator", "Flip all layers horizontally")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Flip vertically"), QT_TRANSLATE_NOOP("Kiln::Translator", "Flip all layers vertically")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Split channels"), QT_TRANSLATE_NOOP("Kiln::Translator", "Split the RGB channels of the current sprite as separate sprites")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Select")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "All"), QT_TRANSLATE_NOOP("Kiln::Translator", "Select the entire canvas")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Deselect"), QT_TRANSLATE_NOOP("Kiln::Translator", "Clear any selection")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Invert"), QT_TRANSLATE_NOOP("Kiln::Translator", "Invert the current selection")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Switch to the sprite palette"), QT_TRANSLATE_NOOP("Kiln::Translator", "Switch the current palette to the palette of the sprite")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Sounds")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Add one or more sounds"), 31},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Remove the current sound"), 32},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Change sound..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Change the current sound from a file...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save sound as..."), QT_TRANSLATE_NOOP("Kiln::Translator", "Save the sound as WAV...")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Resample"), QT_TRANSLATE_NOOP("Kiln::Translator", "Resample one or more sounds")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Duplicate the current sound"), 50},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Play the current sound"), 53},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Play with loop"), QT_TRANSLATE_NOOP("Kiln::Translator", "Play the current sound with infinite loop")},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Stop the sound"), 54},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Export one or more sounds to file system..."), 70},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more sounds from file system..."), 71},
    {nullptr, QT_TRANSLATE_NOOP("Kiln::Translator", "Import one or more sounds from another opened project..."), 72},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Previous sound")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Next sound")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Organizer")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move one position up")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move one position down")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move ten positions up")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move ten positions down")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move to the top")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Move to the bottom")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Organize automatically")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Thumbnails")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add selected to the current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Add all to the current animation")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "New animation with selected")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "New animation with all")},
    {QT_TRANSLATE_NOOP("Kiln::Translator", "Save selected images")},
};
// clang-format on
static_assert(sizeof(rows) / sizeof(rows[0]) == KilnTranslator::idCount);

const Row *rowOf(int id)
{
    return id >= 0 && id < KilnTranslator::idCount ? &rows[id] : nullptr;
}

QString translated(const char *source)
{
    return source ? QCoreApplication::translate("Kiln::Translator", source) : QString();
}

} // namespace

Translator::~Translator() = default;

QString Translator::hint(int id) const
{
    return text(id);
}

QString Translator::description(int) const
{
    return QString();
}

KilnTranslator *KilnTranslator::instance()
{
    static KilnTranslator translator;
    return &translator;
}

QString KilnTranslator::text(int id) const
{
    const Row *row = rowOf(id);
    if (!row)
        return QString();
    return row->text ? translated(row->text) : text(row->earlier);
}

QString KilnTranslator::hint(int id) const
{
    const Row *row = rowOf(id);
    return row ? translated(row->hint) : QString();
}

} // namespace Kiln
