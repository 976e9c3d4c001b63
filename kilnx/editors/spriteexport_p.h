#pragma once

#include <QtCore/QPointer>
#include <QtGui/QImage>

#include <functional>

class QWidget;

namespace Kiln
{

class Interface;
class Sprites;

/// Writes sprites of a file as picture files, whose place and format the user chooses. The folder
/// is kept in the option "spr_path".
class SpriteExport
{
public:
    /// The picture of a row.
    using Pictures = std::function<QImage(unsigned int row)>;

    /// `pictures` are those of the file unless given.
    SpriteExport(Interface *host, Sprites *sprites, const Pictures &pictures = {});

    /// Asks for the file of one row, or for the folder and the start of the names of several, then
    /// writes them, and tells of all that could not be written in one message. After a cancel, and
    /// when the file of sprites is closed meanwhile, all is as it was before.
    void run(const QList<int> &rows) const;

    /// Where dialogs for picture files of these sprites start.
    static QString startPath(const Interface &host, Sprites *sprites);
    /// Has them start beside `fileName` from now on.
    static void keepPath(Interface &host, const Sprites &sprites, const QString &fileName);

private:
    QString offeredPath(const QStringList &identifiers) const;
    QStringList identifiers(const QList<int> &rows) const;
    void write(const QList<int> &rows, const QStringList &names) const;
    QImage picture(unsigned int row) const;

    Interface *const m_interface;
    const QPointer<Sprites> m_sprites;
    const Pictures m_pictures;
};

} // namespace Kiln
