// Pictures of files: how they come into the sprite editor's file, and out of it.

#include <kilnx/editors/palettepreview.h>
#include <kilnx/editors/pictureimport_p.h>
#include <kilnx/editors/spriteeditor_p.h>
#include <kilnx/editors/spriteexport_p.h>
#include <kilnx/forms/imagedlgs.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/forms/paldlg.h>
#include <kilnx/forms/sprimport.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/imageops.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/project.h>
#include <kilnx/project/translator.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QMimeData>
#include <QtCore/QSet>
#include <QtCore/QUrl>
#include <QtGui/QDropEvent>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");

/// The colours that the picture's indexes stand for equal the palette, all 256 of them.
bool hasColorsOf(const QImage &picture, const Palette &palette)
{
    RGBA colors[256];
    palette.toPalette(colors);
    const QVector<QRgb> table = picture.colorTable();
    return table.size() == 256 && std::equal(table.cbegin(), table.cend(), colors,
                                             [](QRgb a, RGBA b) { return fromQRgb(a) == b; });
}

} // namespace

QImage SpriteEditorPrivate::blankPicture(int format, QSize size) const
{
    QImage picture(size, ImageCanvas::pixelFormat(format));
    if (picture.isNull())
        return picture;
    picture.fill(0);
    if (format == IndexedCanvas)
        picture.setColorTable(colorTable());
    return picture;
}

/// The identifier, or with the first number behind it that is free.
QString SpriteEditorPrivate::freeIdentifier(const QString &wish) const
{
    QSet<QString> taken;
    for (unsigned int i = 0; i < sprites->itemCount(); ++i)
        taken.insert(sprites->at(i)->property(identifierName).toString());
    QString name = wish;
    for (int number = 2; taken.contains(name); ++number)
        name = QStringLiteral("%1 %2").arg(wish).arg(number);
    return name;
}

/// Behind the current one, or as the first; it becomes the current one if the user lets the canvas
/// go.
void SpriteEditorPrivate::insertSprite(const QString &wish, const QImage &picture)
{
    const QPointer<Sprites> list = sprites;
    const unsigned int at = row.isValid() ? unsigned(row.row()) + 1 : 0;
    list->beginChange();
    if (Sprite *made = list->insert(at, freeIdentifier(wish), QImage()))
        made->setImage(picture, false, Sprite::ImagePalette, nullptr);
    if (!list)
        return;
    list->endChange();
    if (list == sprites)
        setCurrent(at);
}

void SpriteEditorPrivate::addNew()
{
    if (!sprites || working)
        return;
    const Still still(this);
    const QSize size = canvas().size.isEmpty() ? QSize(32, 32) : canvas().size;
    ImgInfoDlg dialog(window(), SpriteEditor::tr("New sprite"), canvas().format, size);
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const QImage picture = blankPicture(dialog.format(), dialog.imageSize());
    if (!picture.isNull())
        insertSprite(SpriteEditor::tr("Sprite"), picture);
}

// --- Reading

QString SpriteEditorPrivate::openFilter() const
{
    return SpriteEditor::tr("All pictures") + QLatin1String(fileExtension(ImageOpenAll)) +
           QLatin1String(fileExtension(ImageOpen));
}

void SpriteEditorPrivate::warnOfPicture(const QString &fileName)
{
    showWarning(
        window(), interface->text(Interface::FailureTitle),
        interface->text(Interface::PictureFailureText).arg(QDir::toNativeSeparators(fileName)));
}

void SpriteEditorPrivate::setSpriteImage(const QImage &image)
{
    if (!sprite() || image.isNull())
        return;
    Palette *own = current->palette();
    if (own && image.format() == QImage::Format_Indexed8 && hasColorsOf(image, *own)) {
        takePicture([&] { current->setImage(image); });
        return;
    }
    const Still still(this);
    Palettes *palettes = sprites->palettes();
    PalDlg dialog(window(), palettes, own ? own->index() : -1, palettePreview(image, palettes));
    dialog.exec();
    if (!still.isSo())
        return;
    Palette *chosen = palettes->at(unsigned(dialog.row())); // null for none
    takePicture([&] { current->setImage(image, dialog.isReversed(), dialog.mode(), chosen); });
}

/// The sprite gets another picture; what was on the canvas is gone with the old one.
void SpriteEditorPrivate::takePicture(const std::function<void()> &change)
{
    forgetSteps();
    const Still still(this);
    change();
    if (still.isSo())
        spriteChanged(current);
}

void SpriteEditorPrivate::openImg()
{
    if (!sprite() || working)
        return;
    const Still still(this);
    const QString path =
        getOpenFileName(window(), SpriteEditor::tr("Change image"),
                        SpriteExport::startPath(*interface, sprites), openFilter());
    if (path.isEmpty() || !still.isSo())
        return;
    saveOrDiscard();
    if (!still.isSo())
        return;
    SpriteExport::keepPath(*interface, *sprites, path);
    QImage picture;
    readPicture(path, &picture);
    if (picture.isNull()) {
        warnOfPicture(path);
        return;
    }
    if (askQuestion(window(), KilnTranslator::instance()->text(130),
                    SpriteEditor::tr("Do you want to crop the image?")))
        cropImage(picture, nullptr, 0);
    if (still.isSo())
        setSpriteImage(picture);
}

void SpriteEditorPrivate::add()
{
    if (!sprites || working)
        return;
    const Still still(this);
    const QStringList files =
        getOpenFileNames(window(), SpriteEditor::tr("Add sprites"),
                         SpriteExport::startPath(*interface, sprites), openFilter());
    if (files.isEmpty() || !still.isSo())
        return;
    SpriteExport::keepPath(*interface, *sprites, files.first());
    addFiles(files);
}

void SpriteEditorPrivate::addFiles(const QStringList &files)
{
    if (!sprites || working)
        return;
    const Still still(this);
    Palettes *palettes = sprites->palettes();
    const Palette *own = sprite() ? current->palette() : nullptr;
    SprImport dialog(window(), SpriteEditor::tr("Add sprites"), files, palettes,
                     own                     ? own->index()
                     : palettes->count() > 0 ? 0
                                             : -1);
    dialog.exec();
    const QVector<SprImport::Answer> answers = dialog.answers();
    if (!still.isSo() || answers.size() != files.size())
        return;

    const QPointer<SpriteEditorPrivate> alive(this);
    const QPointer<Sprites> list = sprites;
    const auto isShown = [&alive, &list] { return alive && alive->sprites == list; };
    PictureImport import(list, files, answers, isShown);
    const unsigned int first = row.isValid() ? unsigned(row.row()) + 1 : 0;
    working = true;
    const bool isWhole =
        import.run(interface->progress(SpriteEditor::tr("Adding pictures..."), true), first);
    if (alive)
        working = false;
    if (isWhole)
        setCurrent(first + import.added() - 1);
    for (int i = 0; isWhole && isShown() && i < import.unread().size(); ++i)
        warnOfPicture(import.unread()[i]);
}

/// Pictures that are dropped on the view are added, when the drop is over. Whether they were taken.
bool SpriteEditorPrivate::dropped(QDropEvent *event)
{
    QStringList files;
    const QList<QUrl> urls = event->mimeData()->urls();
    for (const QUrl &url : urls) {
        const QString suffix = QFileInfo(url.toLocalFile()).suffix().toLower();
        if (suffix.isEmpty() || !openFilter().contains(QStringLiteral("(*.%1)").arg(suffix)))
            return false;
        files.append(url.toLocalFile());
    }
    if (files.isEmpty() || !editor->isActive() || !sprites || working)
        return false;
    event->setDropAction(Qt::CopyAction); // the pictures stay where they are
    event->accept();
    if (event->type() == QEvent::Drop)
        QMetaObject::invokeMethod(
            this, [this, files] { addFiles(files); }, Qt::QueuedConnection);
    return true;
}

bool SpriteEditorPrivate::eventFilter(QObject *watched, QEvent *event)
{
    const bool isDrop = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
                        event->type() == QEvent::Drop;
    return (isDrop && dropped(static_cast<QDropEvent *>(event))) ||
           QObject::eventFilter(watched, event);
}

// --- Writing

/// What the sprite looks like, with what is drawn on it now.
QImage SpriteEditorPrivate::pictureOf(unsigned int index)
{
    Sprite *wanted = sprites->at(index);
    return wanted && wanted == current && isDirty() ? flattened()
           : wanted                                 ? wanted->image()
                                                    : QImage();
}

void SpriteEditorPrivate::saveImgAs()
{
    if (!sprite() || working)
        return;
    const Still still(this);
    const QPointer<ItemsDialog> dialog =
        interface->itemsDialog(window(), SpriteEditor::tr("Save image"), sprites, row.row());
    const bool accepted = dialog->exec() == QDialog::Accepted && dialog && still.isSo();
    const QList<int> rows = accepted ? dialog->selectedRows() : QList<int>();
    delete dialog;
    if (rows.isEmpty())
        return;
    const QPointer<SpriteEditorPrivate> alive(this);
    working = true;
    SpriteExport(interface, sprites, [this, still](unsigned int each) {
        return still.isSo() ? pictureOf(each) : QImage();
    }).run(rows);
    if (alive)
        working = false;
}

} // namespace Kiln
