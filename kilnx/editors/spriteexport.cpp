#include <kilnx/editors/spriteexport_p.h>

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
#include <QtCore/QRegularExpression>
#include <QtCore/QSaveFile>
#include <QtCore/QSet>

namespace Kiln
{

namespace
{

const QString pathKey = QStringLiteral("spr_path");

/// The identifier as a part of a file name.
QString fileNameOf(QString identifier)
{
    static const QRegularExpression reserved(QStringLiteral("[/\\\\:*?\"<>|\\x00-\\x1f]"));
    return identifier.replace(reserved, QStringLiteral("_"));
}

/// The old file stays when the new one cannot be written in full.
bool writePicture(const QString &path, const QImage &picture)
{
    QBuffer encoded;
    encoded.open(QIODevice::WriteOnly);
    QSaveFile file(path);
    return saveImage(&encoded, fileExtension(path).constData(), picture) &&
           file.open(QIODevice::WriteOnly) && writeAll(&file, encoded.data()) && file.commit();
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
    const auto option = [&host, sprites](const QString &key) {
        const bool isInProject = sprites && sprites->project();
        return (isInProject ? sprites->option(key) : host.option(key, QVariant())).toString();
    };
    const QString own = option(pathKey);
    return own.isEmpty() ? option(QStringLiteral("project_path")) : own;
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
    const QString path = getSaveFileName(m_interface->mainWindow(), SpriteEditor::tr("Save image"),
                                         startPath(*m_interface, m_sprites),
                                         QLatin1String(fileExtension(ImageSave)));
    if (path.isEmpty() || !m_sprites)
        return;
    keepPath(*m_interface, *m_sprites, path);
    const QStringList names = this->names(rows, path);
    if (mayReplace(names, path) && m_sprites)
        write(rows, names);
}

/// The file of each row. Several have the identifier in their names, and a number where two would
/// have the same.
QStringList SpriteExport::names(const QList<int> &rows, const QString &path) const
{
    const QFileInfo info(path);
    const QString suffix = info.suffix().isEmpty() ? QStringLiteral("png") : info.suffix();
    if (rows.size() == 1)
        return {info.suffix().isEmpty() ? path + QLatin1Char('.') + suffix : path};
    QStringList names;
    QSet<QString> used;
    for (const int exported : rows) {
        Sprite *each = m_sprites->at(unsigned(exported));
        const QString own = fileNameOf(each->property(QStringLiteral("Identifier")).toString());
        QString part = own;
        for (int number = 2; used.contains(part.toLower()); ++number)
            part = QStringLiteral("%1_%2").arg(own).arg(number);
        used.insert(part.toLower());
        names.append(QStringLiteral("%1/%2_%3.%4")
                         .arg(info.absolutePath(), info.completeBaseName(), part, suffix));
    }
    return names;
}

/// The dialog has asked about the name that was typed, but not about those that are made of it.
bool SpriteExport::mayReplace(const QStringList &names, const QString &path) const
{
    QStringList there;
    for (const QString &name : names) {
        if (name != path && QFileInfo::exists(name))
            there.append(QDir::toNativeSeparators(name));
    }
    return there.isEmpty() ||
           askQuestion(m_interface->mainWindow(), SpriteEditor::tr("Save image"),
                       SpriteEditor::tr("These files exist. Do you want to replace them?\n%1")
                           .arg(there.mid(0, 8).join(QLatin1Char('\n'))));
}

void SpriteExport::write(const QList<int> &rows, const QStringList &names) const
{
    Progress *progress = m_interface->progress(SpriteEditor::tr("Saving images..."), true);
    bool cancelled = false;
    QStringList failed;
    progress->setProgress(0, unsigned(rows.size()), &cancelled);
    for (int i = 0; i < rows.size() && !cancelled && m_sprites; ++i) {
        if (!writePicture(names[i], picture(unsigned(rows[i]))))
            failed.append(QDir::toNativeSeparators(names[i]));
        progress->setProgress(unsigned(i + 1), 0, &cancelled);
    }
    progress->finish();
    if (m_sprites && !failed.isEmpty())
        showWarning(m_interface->mainWindow(), SpriteEditor::tr("Save image"),
                    SpriteEditor::tr("These images could not be saved:\n%1")
                        .arg(failed.mid(0, 8).join(QLatin1Char('\n'))));
}

QImage SpriteExport::picture(unsigned int row) const
{
    if (m_pictures)
        return m_pictures(row);
    const Sprite *sprite = m_sprites->at(row);
    return sprite ? sprite->image() : QImage();
}

} // namespace Kiln
