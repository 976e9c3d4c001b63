#pragma once

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>

namespace Kiln
{

/// Lets the Tab key reach the buttons that end a dialog behind all its fields, also those that a
/// derived class has added. For the dialog's showEvent().
inline void putButtonsLast(QDialog *dialog)
{
    const auto *box = dialog->findChild<QDialogButtonBox *>();
    QWidget *last = dialog->previousInFocusChain();
    while (last != dialog && (last->focusPolicy() == Qt::NoFocus || box->isAncestorOf(last)))
        last = last->previousInFocusChain();
    const QList<QAbstractButton *> buttons = box->buttons();
    for (QAbstractButton *button : buttons) {
        QWidget::setTabOrder(last, button);
        last = button;
    }
}

} // namespace Kiln
