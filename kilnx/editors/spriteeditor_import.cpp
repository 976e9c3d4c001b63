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

/// How many sprites were added, behind the current one; -1 when the file or the source was closed
/// meanwhile, and when the user has cancelled. All questions come first, then one change.
int SpriteEditorPrivate::importFrom(Sprites &from, const SprImportDlg &dialog)
{
    const ImportOptions options = dialog.options();
    const QPointer<SpriteEditorPrivate> alive(this);
    const QPointer<Sprites> source(&from);
    const QPointer<Sprites> list = sprites;
    const auto isWanted = [&] { return source && list && alive && alive->sprites == list; };
    const int first = row.isValid() ? row.row() + 1 : 0;
    const QString word = QStringLiteral("sprite");
    ImportPlan plan(
        window(), *list, first, options.policy,
        SpriteEditor::tr("Sprite '%1' already exists, do you want to replace it?"),
        [&list](int row) { return list->at(unsigned(row))->property(identifierName).toString(); });
    if (!plan.settleAll(*interface, word, options, from, isWanted))
        return -1;
    const int count = plan.steps().size();
    unsigned int at = unsigned(first);
    Palette *forced = nullptr;
    QList<int> unread;
    const auto take = [&](int i) {
        if (i == 0 && dialog.mode() > Sprite::ImagePalette)
            forced = copiedPalette(*source, dialog.palette());
        const ImportPlan::Step &step = plan.steps()[i];
        const QPersistentModelIndex &row = plan.source(step);
        Sprite *each = row.isValid() ? source->at(unsigned(row.row())) : nullptr;
        const QImage picture = each ? each->image() : QImage();
        if (picture.isNull()) {
            unread.append(options.items[step.item]->row);
        } else if (Sprite *target = targetOf(step, &at)) {
            const QPoint offset = editor->spriteOffset(each);
            target->setImage(picture, false, dialog.mode(), forced);
            editor->setSpriteOffset(target, offset);
        }
        return forced || !picture.isNull();
    };
    if (!changeEach(this, list.data(), count, SpriteEditor::tr("Importing sprites..."), isWanted,
                    take))
        return -1;
    if (int(at) > first)
        setCurrent(unsigned(first));
    for (int i = 0; i < unread.size() && isWanted(); ++i)
        warnOfImport(*interface, word, unread[i], options.project->displayName());
    return int(at) - first;
}

/// What is replaced, or a new one at `at`, under its name.
Sprite *SpriteEditorPrivate::targetOf(const ImportPlan::Step &step, unsigned int *at)
{
    if (step.replaced.isValid()) {
        Sprite *target = sprites->at(unsigned(step.replaced.row()));
        target->setProperty(identifierName, step.name);
        return target;
    }
    Sprite *made = sprites->insert(*at, step.name, QImage());
    *at += made != nullptr;
    return made;
}

} // namespace Kiln
