// Sprites of other projects in the sprite editor's file.

#include <kilnx/editors/eachitem_p.h>
#include <kilnx/editors/importplan_p.h>
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

} // namespace

/// The palette of the source in the file, which may have an equal one already.
Palette *SpriteEditorPrivate::copiedPalette(const Sprites &source, int paletteRow)
{
    const Palette *from = source.palettes()->at(unsigned(paletteRow));
    if (!from)
        return nullptr;
    Palettes *own = sprites->palettes();
    const int equal = own->find(0, from->colors());
    return equal >= 0 ? own->at(unsigned(equal))
                      : own->add(from->colors(),
                                 const_cast<Palette *>(from)->property(identifierName), false);
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

/// How many sprites were added; -1 when the file or the source was closed behind a box, and when
/// the user has cancelled. All is read before anything is changed.
int SpriteEditorPrivate::importFrom(Sprites &from, const SprImportDlg &dialog)
{
    const ImportOptions options = dialog.options();
    const Still still(this);
    const QPointer<Sprites> source(&from);
    const int first = row.isValid() ? row.row() + 1 : 0;
    ImportPlan plan(window(), *sprites, first, options.policy,
                    SpriteEditor::tr("Sprite '%1' already exists, do you want to replace it?"),
                    [this](int row) {
                        return sprites->at(unsigned(row))->property(identifierName).toString();
                    });
    QVector<QPersistentModelIndex> picked; // behind a box the source may have other rows
    for (const ImportItem *item : options.items)
        picked.append(source->index(item->row));
    QVector<QImage> pictures(picked.size());
    const auto read = [&](int i) {
        if (source && picked[i].isValid())
            pictures[i] = source->at(unsigned(picked[i].row()))->image();
    };
    if (!doWithEach(this, picked.size(), SpriteEditor::tr("Importing sprites..."), read) || !source)
        return -1;
    for (int i = 0; i < pictures.size(); ++i) {
        if (pictures[i].isNull()) {
            warnOfImport(*interface, QStringLiteral("sprite"), options.items[i]->row,
                         options.project->displayName());
            plan.forgetRows();
        } else {
            plan.settle(i, options.items[i]->name);
        }
        if (!still.isSo() || !source)
            return -1;
    }
    const QPointer<Sprites> list = sprites;
    unsigned int at = unsigned(first);
    list->beginChange();
    Palette *forced =
        dialog.mode() > Sprite::ImagePalette ? copiedPalette(from, dialog.palette()) : nullptr;
    for (const ImportPlan::Step &step : plan.steps()) {
        const bool isNew = !step.replaced.isValid();
        Sprite *target =
            isNew ? list->insert(at, step.name, QImage()) : list->at(unsigned(step.replaced.row()));
        if (!target)
            continue;
        target->setImage(pictures[step.item], false, dialog.mode(), forced);
        target->setProperty(identifierName, step.name);
        at += isNew;
    }
    list->endChange();
    if (int(at) > first && list == sprites)
        setCurrent(unsigned(first));
    return int(at) - first;
}

} // namespace Kiln
