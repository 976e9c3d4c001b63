#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>

class QWidget;

namespace Kiln
{

// Every message and question of the library goes through these functions. They are modal, and
// return when the user has answered; closing a question counts as No or Cancel.

/// A question box with Yes and No; true only for Yes. No is the default, unless `defaultsToYes`.
KILNX_EXPORT bool
askQuestion(QWidget *parent, const QString &title, const QString &text, bool defaultsToYes = false);
/// The same as a warning box.
KILNX_EXPORT bool askWarning(QWidget *parent, const QString &title, const QString &text);
/// What to do with changes that are not saved.
enum class UnsavedAnswer { Save, Discard, Cancel };
/// A warning box with Save, Discard and Cancel; Save is the default. `discard` says what the second
/// one does where nothing is thrown away.
KILNX_EXPORT UnsavedAnswer askUnsaved(QWidget *parent,
                                      const QString &title,
                                      const QString &text,
                                      const QString &discard = QString());
/// Boxes with one OK button.
KILNX_EXPORT void showInformation(QWidget *parent, const QString &title, const QString &text);
KILNX_EXPORT void showWarning(QWidget *parent, const QString &title, const QString &text);
KILNX_EXPORT void showCritical(QWidget *parent, const QString &title, const QString &text);

} // namespace Kiln
