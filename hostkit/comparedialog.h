#pragma once

#include <hostkit/export.h>

#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>

#include <functional>

class QPushButton;
class QTreeWidget;

namespace HostKit
{

class CompareView;

/// Files to choose from by a mark, and beside them what differs in the one that is current.
class HOSTKIT_EXPORT CompareDialog : public QDialog
{
    Q_OBJECT

public:
    /// A row of the list.
    struct File {
        QString name;
        QString remark;       ///< in the second column
        QString fileName;     ///< absolute, for the tool tip
        bool isMarked = true; ///< at first
    };
    /// What a file was and what it becomes, with "\n" between the lines.
    using Texts = std::function<QPair<QString, QString>(int file)>;

    /// The dialog is called `name` + "_dialog", its parts `name` + "_files" and `name` +
    /// "_compare". `remarkTitle` is the header of the second column. The texts are asked for when a
    /// file becomes current, first by showFile().
    CompareDialog(const QString &name,
                  const QString &head,
                  const QString &remarkTitle,
                  const QVector<File> &files,
                  const Texts &texts,
                  QWidget *parent);

    /// A button, called `name`, that ends the dialog with an answer; without one it does nothing by
    /// itself.
    QPushButton *addButton(const QString &text,
                           const char *name,
                           QDialogButtonBox::ButtonRole role,
                           int answer = -1);
    void showFile(int file);
    /// -1 without any.
    int currentFile() const;
    bool isMarked(int file) const;

Q_SIGNALS:
    /// The user has marked a file, or taken its mark away.
    void marksChanged();

private:
    void compare();

    Texts m_texts;
    QTreeWidget *m_list;
    CompareView *m_view;
    QDialogButtonBox *m_buttons;
};

} // namespace HostKit
