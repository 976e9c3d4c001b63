#pragma once

#include <hostkit/export.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QObject>
#include <QtCore/QVariant>

#include <functional>

namespace HostKit
{

/// The wire between an editor and the widget that the kit built for one of its controls.
///
/// An editor names its slots and signals as Qt's coded text, and their argument types differ
/// from editor to editor. The link offers every usual type and connects the one that the
/// signature asks for. What the editor sets does not come back to it as a change of the user.
class HOSTKIT_EXPORT ControlLink : public QObject
{
    Q_OBJECT

public:
    /// `apply` puts a value into `widget`; the link becomes the widget's child.
    ControlLink(QWidget *widget, std::function<void(const QVariant &)> apply);

    /// Connects user changes to the receiver's slot, as in "1frameXChanged(int)".
    void connectSlot(QObject *receiver, const char *slot);

    /// Connects the receiver's signal, as in "2setFrameX(int)", to the widget.
    void connectSetter(QObject *receiver, const char *setter);

    /// The receiver's signal, as in "2frameEnabled(bool)", enables `target`, which is disabled
    /// from now on until the signal says otherwise.
    static void connectEnabler(QObject *receiver, const char *enabler, QWidget *target);

    /// Tells the editor that the user chose `value`.
    void reportChange(const QVariant &value);

public Q_SLOTS:
    void setInt(int value);
    void setDouble(double value);
    void setBool(bool value);
    void setText(const QString &value);
    void setIndex(const QModelIndex &value);

Q_SIGNALS:
    void intChanged(int value);
    void doubleChanged(double value);
    void boolChanged(bool value);
    void textChanged(const QString &value);
    void indexChanged(const QModelIndex &value);

private:
    void put(const QVariant &value);

    std::function<void(const QVariant &)> m_apply;
    bool m_setting = false;
};

} // namespace HostKit
