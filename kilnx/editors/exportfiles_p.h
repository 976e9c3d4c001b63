#pragma once

#include <QtCore/QStringList>

class QWidget;

namespace Kiln
{

/// An identifier as a part of a file name, on every system.
QString fileNamePart(const QString &identifier);

/// The files to which several items are written: beside `path`, the name that was typed, each with
/// its identifier behind an underscore, as far as a file name can have it, and with a number where
/// two would have the same.
QStringList exportNames(const QStringList &identifiers, const QString &path);

/// Asks once about the files that exist, except `typed`, about which the dialog has asked.
bool mayReplaceFiles(QWidget *parent,
                     const QString &title,
                     const QStringList &names,
                     const QString &typed);

/// The first of some file names, a line each, for a message.
QString listedFiles(const QStringList &names);
/// The same of the names of items.
QString listedNames(const QStringList &names);

} // namespace Kiln
