#include <kilnx/forms/messageboxes.h>

#include <QtWidgets/QMessageBox>

namespace Kiln
{

static constexpr QMessageBox::StandardButtons yesNo = QMessageBox::Yes | QMessageBox::No;

bool askQuestion(QWidget *parent, const QString &title, const QString &text, bool defaultsToYes)
{
    const auto preset = defaultsToYes ? QMessageBox::Yes : QMessageBox::No;
    return QMessageBox::question(parent, title, text, yesNo, preset) == QMessageBox::Yes;
}

bool askWarning(QWidget *parent, const QString &title, const QString &text)
{
    return QMessageBox::warning(parent, title, text, yesNo, QMessageBox::No) == QMessageBox::Yes;
}

UnsavedAnswer askUnsaved(QWidget *parent, const QString &title, const QString &text)
{
    const int answer = QMessageBox::warning(
        parent, title, text, QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel,
        QMessageBox::Save);
    return answer == QMessageBox::Save      ? UnsavedAnswer::Save
           : answer == QMessageBox::Discard ? UnsavedAnswer::Discard
                                            : UnsavedAnswer::Cancel;
}

void showInformation(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::information(parent, title, text, QMessageBox::Ok);
}

void showWarning(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::warning(parent, title, text, QMessageBox::Ok);
}

void showCritical(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::critical(parent, title, text, QMessageBox::Ok);
}

} // namespace Kiln
