#include "dialogscript.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>

DialogScript::DialogScript(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

void DialogScript::expectBox(QMessageBox::StandardButton answer)
{
    m_answers.append([answer](QDialog *dialog) -> QString {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        QAbstractButton *button = box ? box->button(answer) : nullptr;
        if (!button) {
            dialog->reject();
            return QString("no message box with the expected button");
        }
        button->click();
        return {};
    });
}

void DialogScript::expectFiles(const QStringList &paths)
{
    m_answers.append([paths](QDialog *dialog) -> QString {
        auto *files = qobject_cast<QFileDialog *>(dialog);
        if (!files || paths.isEmpty()) {
            dialog->reject();
            return files ? QString() : QString("no file dialog");
        }
        // Typing the names is what a user can do with every file mode, also for files to come.
        QStringList quoted;
        for (const QString &path : paths)
            quoted << (paths.size() > 1 ? '"' + QDir::toNativeSeparators(path) + '"' : path);
        if (auto *edit = files->findChild<QLineEdit *>(QString("fileNameEdit")))
            edit->setText(quoted.join(' '));
        static_cast<QDialog *>(files)->accept();
        return {};
    });
}

void DialogScript::expectDialog(std::function<void(QDialog *)> act)
{
    m_answers.append([act = std::move(act)](QDialog *dialog) {
        act(dialog);
        return QString();
    });
}

QStringList DialogScript::seenTitles() const
{
    QStringList titles;
    for (const Seen &seen : m_seen)
        titles << seen.title;
    return titles;
}

QString DialogScript::finish() const
{
    QStringList faults = m_faults;
    if (!m_answers.isEmpty())
        faults << QString("%1 expected dialogs did not come").arg(m_answers.size());
    return faults.join(QString("; "));
}

bool DialogScript::eventFilter(QObject *watched, QEvent *event)
{
    auto *dialog = event->type() == QEvent::Show ? qobject_cast<QDialog *>(watched) : nullptr;
    // Progress asks nothing, and shows itself only where the work takes long.
    if (dialog && dialog->isModal() && !qobject_cast<QProgressDialog *>(dialog)) {
        // Answer once the dialog runs its own loop: within the event it is not yet in exec().
        QTimer::singleShot(0, dialog, [this, dialog] { answer(dialog); });
    }
    return QObject::eventFilter(watched, event);
}

void DialogScript::answer(QDialog *dialog)
{
    if (!dialog->isVisible())
        return;
    m_seen.append(describe(dialog));
    if (m_answers.isEmpty() && m_otherAnswer) {
        m_otherAnswer(dialog);
        return;
    }
    if (m_answers.isEmpty()) {
        m_faults
            << QString("unexpected dialog \"%1\": %2").arg(m_seen.last().title, m_seen.last().text);
        dialog->reject();
        return;
    }
    const QPointer<QDialog> guard(dialog);
    const QString fault = m_answers.takeFirst()(dialog);
    if (!fault.isEmpty())
        m_faults << fault + QString(" at \"%1\"").arg(m_seen.last().title);
    if (guard && guard->isVisible()) {
        m_faults << QString("\"%1\" stayed open").arg(guard->windowTitle());
        guard->reject();
    }
}

DialogScript::Seen DialogScript::describe(QDialog *dialog)
{
    Seen seen;
    seen.title = dialog->windowTitle();
    if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
        seen.text = box->text();
        seen.buttons = box->standardButtons();
        seen.defaultButton = box->standardButton(box->defaultButton());
        seen.icon = box->icon();
    } else if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
        seen.text = files->directory().absolutePath();
        seen.nameFilters = files->nameFilters();
    }
    return seen;
}
