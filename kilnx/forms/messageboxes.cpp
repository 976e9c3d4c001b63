#include <kilnx/forms/messageboxes.h>

#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace Kiln
{

namespace
{

constexpr QMessageBox::StandardButtons yesNo = QMessageBox::Yes | QMessageBox::No;

/// Texts hold names of files, which may look like formatted text and are none.
int show(QMessageBox::Icon icon,
         QWidget *parent,
         const QString &title,
         const QString &text,
         QMessageBox::StandardButtons buttons,
         QMessageBox::StandardButton preset = QMessageBox::Ok,
         const QString &discard = QString())
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(preset);
    if (!discard.isEmpty())
        box.button(QMessageBox::Discard)->setText(discard);
    return box.exec();
}

} // namespace

bool askQuestion(QWidget *parent, const QString &title, const QString &text, bool defaultsToYes)
{
    const auto preset = defaultsToYes ? QMessageBox::Yes : QMessageBox::No;
    return show(QMessageBox::Question, parent, title, text, yesNo, preset) == QMessageBox::Yes;
}

bool askWarning(QWidget *parent, const QString &title, const QString &text)
{
    return show(QMessageBox::Warning, parent, title, text, yesNo, QMessageBox::No) ==
           QMessageBox::Yes;
}

UnsavedAnswer
askUnsaved(QWidget *parent, const QString &title, const QString &text, const QString &discard)
{
    const int answer = show(QMessageBox::Warning, parent, title, text,
                            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel,
                            QMessageBox::Save, discard);
    return answer == QMessageBox::Save      ? UnsavedAnswer::Save
           : answer == QMessageBox::Discard ? UnsavedAnswer::Discard
                                            : UnsavedAnswer::Cancel;
}

void showInformation(QWidget *parent, const QString &title, const QString &text)
{
    show(QMessageBox::Information, parent, title, text, QMessageBox::Ok);
}

void showWarning(QWidget *parent, const QString &title, const QString &text)
{
    show(QMessageBox::Warning, parent, title, text, QMessageBox::Ok);
}

void showCritical(QWidget *parent, const QString &title, const QString &text)
{
    show(QMessageBox::Critical, parent, title, text, QMessageBox::Ok);
}

} // namespace Kiln
