#include <kilnx/editors/spriteexport_p.h>

#include <kilnx/editors/exportfiles_p.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/project.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace Kiln
{

namespace
{

const QString pathKey = QStringLiteral("spr_path");
const QLatin1String usualSuffix("png");

QString option(const Interface &host, Sprites *sprites, const QString &key)
{
    const bool isInProject = sprites && sprites->project();
    return (isInProject ? sprites->option(key) : host.option(key, QVariant())).toString();
}

/// The bytes of a picture file of that name; none where its format cannot have the picture.
QByteArray encoded(const QString &path, const QImage &picture)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const bool isWhole = saveImage(&buffer, fileExtension(path).constData(), picture);
    return isWhole ? buffer.data() : QByteArray();
}

} // namespace

SpriteExport::SpriteExport(Interface *host, Sprites *sprites, const Pictures &pictures)
    : m_interface(host)
    , m_sprites(sprites)
    , m_pictures(pictures)
{
}

QString SpriteExport::startPath(const Interface &host, Sprites *sprites)
{
    const QString own = option(host, sprites, pathKey);
    return own.isEmpty() ? option(host, sprites, QStringLiteral("project_path")) : own;
}

void SpriteExport::keepPath(Interface &host, const Sprites &sprites, const QString &fileName)
{
    const QString directory = QFileInfo(fileName).absolutePath();
    if (Project *project = sprites.project())
        project->setOption(pathKey, directory, true);
    else
        host.setOption(pathKey, directory);
}

void SpriteExport::run(const QList<int> &rows) const
{
    if (rows.isEmpty() || !m_sprites)
        return;
    const QString title = SpriteEditor::tr("Save image");
    const QStringList identifiers = this->identifiers(rows);
    const QString typed =
        getSaveFileName(m_interface->mainWindow(), title, offeredPath(identifiers),
                        QLatin1String(fileExtension(ImageSave)));
    if (typed.isEmpty() || !m_sprites)
        return;
    keepPath(*m_interface, *m_sprites, typed);
    const bool hasSuffix = !QFileInfo(typed).suffix().isEmpty();
    const QString path = hasSuffix ? typed : typed + QLatin1Char('.') + usualSuffix;
    const QStringList names = rows.size() == 1 ? QStringList(path) : exportNames(identifiers, path);
    if (mayReplaceFiles(m_interface->mainWindow(), title, names, typed) && m_sprites)
        write(rows, names);
}

/// Beside the pictures that were chosen last, or else beside the file of sprites; named after the
/// one sprite, or after the file.
QString SpriteExport::offeredPath(const QStringList &identifiers) const
{
    const QFileInfo own(m_sprites->fileName());
    const bool hasFile = !own.fileName().isEmpty();
    QString beside = option(*m_interface, m_sprites, pathKey);
    if (beside.isEmpty())
        beside = hasFile ? own.absolutePath() : startPath(*m_interface, m_sprites);
    QString name =
        identifiers.size() == 1 ? fileNamePart(identifiers.first()) : own.completeBaseName();
    if (name.isEmpty())
        name = QStringLiteral("sprite");
    return QDir(beside).filePath(name + QLatin1Char('.') + usualSuffix);
}

QStringList SpriteExport::identifiers(const QList<int> &rows) const
{
    QStringList list;
    for (const int row : rows)
        list.append(
            m_sprites->at(unsigned(row))->property(QStringLiteral("Identifier")).toString());
    return list;
}

void SpriteExport::write(const QList<int> &rows, const QStringList &names) const
{
    Progress *progress = m_interface->progress(SpriteEditor::tr("Saving images..."), true);
    bool cancelled = false;
    QStringList failed;
    ExportedFiles files;
    progress->setProgress(0, unsigned(rows.size()), &cancelled);
    for (int i = 0; i < rows.size() && !cancelled && m_sprites; ++i) {
        const QByteArray bytes = encoded(names[i], picture(unsigned(rows[i])));
        if (bytes.isEmpty() || !files.write(names[i], bytes))
            failed.append(names[i]);
        progress->setProgress(unsigned(i + 1), 0, &cancelled);
    }
    progress->finish();
    if (cancelled || !m_sprites)
        return;
    failed += files.commit();
    if (failed.isEmpty())
        return;
    QString told =
        SpriteEditor::tr("These images could not be saved:\n%1").arg(listedFiles(failed));
    if (failed.size() < rows.size())
        told += QLatin1String("\n\n") +
                SpriteEditor::tr("%n image(s) were saved.", nullptr, rows.size() - failed.size());
    showWarning(m_interface->mainWindow(), SpriteEditor::tr("Save image"), told);
}

QImage SpriteExport::picture(unsigned int row) const
{
    if (m_pictures)
        return m_pictures(row);
    const Sprite *sprite = m_sprites->at(row);
    return sprite ? sprite->image() : QImage();
}

} // namespace Kiln
