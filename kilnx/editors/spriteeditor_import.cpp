// Sprites of other projects in the sprite editor's file.

#include <kilnx/editors/projimport.h>
#include <kilnx/editors/spriteeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/project/translator.h>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");

/// What is to be done with one item, settled before anything is changed.
struct Step {
    QImage picture;
    QString name;
    int replaced = -1; ///< a row of the destination; -1 to add
};

} // namespace

/// The palette of the source in the file, which may have an equal one already.
Palette *SpriteEditorPrivate::copiedPalette(const Sprites &source, int paletteRow)
{
    const Palette *from = paletteRow >= 0 ? source.palettes()->at(unsigned(paletteRow)) : nullptr;
    if (!from)
        return nullptr;
    Palettes *own = sprites->palettes();
    const int equal = own->find(0, from->colors());
    return equal >= 0 ? own->at(unsigned(equal))
                      : own->add(from->colors(),
                                 const_cast<Palette *>(from)->property(identifierName), false);
}

/// The row that an item replaces, or -1 to add it; false to leave it out.
bool SpriteEditorPrivate::settleConflict(const QString &name, ConflictPolicy policy, int *replaced)
{
    *replaced = policy == ConflictPolicy::AddAnyway ? -1 : sprites->indexOf(0, name);
    if (*replaced < 0)
        return true;
    if (policy == ConflictPolicy::Skip)
        return false;
    if (policy == ConflictPolicy::Ask &&
        !askQuestion(
            window(), SpriteEditor::tr("Conflict resolution!"),
            SpriteEditor::tr("Sprite '%1' already exists, do you want to replace it?").arg(name)))
        *replaced = -1;
    return true;
}

void SpriteEditorPrivate::projImport()
{
    Project *project = sprites ? sprites->project() : nullptr;
    if (!project || working)
        return;
    const Still still(this);
    if (interface->projectCount() < 2)
        showWarning(window(), SpriteEditor::tr("Warning"),
                    SpriteEditor::tr("You can't import from the destination project!"));
    if (!still.isSo())
        return;
    editor->switchToThis();
    SprImportDlg dialog(interface, project, window());
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const ImportOptions options = dialog.options();
    auto *source = options.project
                       ? dynamic_cast<Sprites *>(options.project->file(Project::FileID::Sprites))
                       : nullptr;
    if (source && source == sprites) {
        showWarning(window(), SpriteEditor::tr("Warning"),
                    SpriteEditor::tr("You can't import from the destination project!"));
        return;
    }
    const int added = source ? importFrom(*source, dialog) : 0;
    if (added < 0)
        return;
    const QString told = added > 0 ? SpriteEditor::tr("%n sprite(s) were imported!", nullptr, added)
                                   : SpriteEditor::tr("No sprite imported!");
    showInformation(window(), KilnTranslator::instance()->text(72), told);
}

/// How many sprites were added; -1 when the file or the source was closed behind a box.
int SpriteEditorPrivate::importFrom(Sprites &from, const SprImportDlg &dialog)
{
    const ImportOptions options = dialog.options();
    const Still still(this);
    const QPointer<Sprites> source(&from);
    QVector<Step> steps;
    for (const ImportItem *item : options.items) {
        Sprite *picked = source->at(unsigned(item->row));
        Step step{picked ? picked->image() : QImage(), item->name, -1};
        if (step.picture.isNull())
            showWarning(window(), interface->text(Interface::FailureTitle),
                        interface->text(Interface::ImportFailureText)
                            .arg(QStringLiteral("sprite"))
                            .arg(item->row)
                            .arg(options.project->displayName()));
        else if (settleConflict(step.name, options.policy, &step.replaced))
            steps.append(step);
        if (!still.isSo() || !source)
            return -1;
    }
    const QPointer<Sprites> list = sprites;
    const unsigned int first = row.isValid() ? unsigned(row.row()) + 1 : 0;
    unsigned int at = first;
    list->beginChange();
    Palette *forced =
        dialog.mode() > Sprite::ImagePalette ? copiedPalette(from, dialog.palette()) : nullptr;
    // Rows are those from before; adding moves only what is behind.
    for (const Step &step : qAsConst(steps)) {
        const bool isNew = step.replaced < 0;
        const int moved = step.replaced >= int(first) ? int(at - first) : 0;
        Sprite *target = isNew ? list->insert(at, step.name, QImage())
                               : list->at(unsigned(step.replaced + moved));
        if (!target)
            continue;
        target->setImage(step.picture, false, dialog.mode(), forced);
        target->setProperty(identifierName, step.name);
        at += isNew;
    }
    list->endChange();
    if (at > first && list == sprites)
        setCurrent(first);
    return int(at - first);
}

} // namespace Kiln
