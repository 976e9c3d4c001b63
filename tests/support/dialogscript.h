#pragma once

#include <QDialog>
#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QStringList>

#include <functional>

/// Answers the real modal dialogs that the code under test opens, in the order in which the test
/// expects them, and keeps what each of them said.
///
/// One script lives for the length of a test. A dialog that comes when none is expected is
/// rejected and counts as a fault, so that no test hangs on it.
class DialogScript : public QObject
{
    Q_OBJECT

public:
    /// What a dialog showed. `text` is a message box's text, or a file dialog's directory.
    struct Seen {
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QStringList nameFilters;
    };

    explicit DialogScript(QObject *parent = nullptr);

    /// The next dialog is a message box, answered by this button.
    void expectBox(QMessageBox::StandardButton answer);
    /// The next dialog is a file dialog: these files are chosen, or it is cancelled if none.
    void expectFiles(const QStringList &paths);
    /// The next dialog, whatever it is, is handed to `act`, which must end it.
    void expectDialog(std::function<void(QDialog *)> act);

    /// Every further dialog that nothing else is expected of is handed to `act`.
    void answerOthers(std::function<void(QDialog *)> act) { m_otherAnswer = std::move(act); }

    const QList<Seen> &seen() const { return m_seen; }
    QStringList seenTitles() const;
    void clearSeen() { m_seen.clear(); }

    /// An empty text when every expected dialog came and no other; otherwise what went wrong.
    QString finish() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void answer(QDialog *dialog);
    static Seen describe(QDialog *dialog);

    QList<std::function<QString(QDialog *)>> m_answers;
    std::function<void(QDialog *)> m_otherAnswer;
    QList<Seen> m_seen;
    QStringList m_faults;
};
