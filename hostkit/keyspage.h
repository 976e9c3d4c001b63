#pragma once

#include <hostkit/export.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtGui/QKeySequence>
#include <QtWidgets/QWidget>

class QAction;
class QKeySequenceEdit;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace HostKit
{

class Shortcuts;

/// A page of a settings dialog: all commands with their keys, to be searched and changed. A key
/// that another command has already is told, and taken from that one if the user sets it all the
/// same.
class HOSTKIT_EXPORT KeysPage : public QWidget
{
    Q_OBJECT

public:
    explicit KeysPage(Shortcuts &shortcuts, QWidget *parent = nullptr);

    /// Has the commands follow what was changed on the page.
    void apply();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Keys = QList<QKeySequence>;

    void list();
    void chooseFirst();
    void filter(const QString &text);
    void showCommand();
    void showClashes();
    void set(const Keys &keys);
    void change(QAction *command, const Keys &keys);
    QAction *command() const;
    Keys keysOf(QAction *command) const;
    QList<QAction *> clashes(const QAction *command, const QKeySequence &key) const;

    Shortcuts &m_shortcuts;
    QTreeWidget *m_tree;
    QKeySequenceEdit *m_key;
    QPushButton *m_set;
    QPushButton *m_remove;
    QPushButton *m_standard;
    QLabel *m_told;
    QHash<QAction *, QTreeWidgetItem *> m_rows;
    QHash<QAction *, Keys> m_changed; ///< and not applied
};

} // namespace HostKit
