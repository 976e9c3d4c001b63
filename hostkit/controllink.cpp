#include <hostkit/controllink.h>

#include <QScopedValueRollback>
#include <QWidget>

namespace HostKit
{

namespace
{

struct TypeRow {
    const char *type;
    const char *signal;
    const char *slot;
};

const TypeRow typeRows[] = {
    {"int", SIGNAL(intChanged(int)), SLOT(setInt(int))},
    {"double", SIGNAL(doubleChanged(double)), SLOT(setDouble(double))},
    {"bool", SIGNAL(boolChanged(bool)), SLOT(setBool(bool))},
    {"QString", SIGNAL(textChanged(QString)), SLOT(setText(QString))},
    {"QModelIndex", SIGNAL(indexChanged(QModelIndex)), SLOT(setIndex(QModelIndex))},
};

// The row for the first argument of a coded signature; one without arguments gets the first row.
const TypeRow *rowFor(const char *signature)
{
    const QByteArray text = QMetaObject::normalizedSignature(signature);
    const int open = text.indexOf('(');
    const QByteArray type = text.mid(open + 1, text.size() - open - 2).split(',').first();
    if (type.isEmpty())
        return &typeRows[0];
    for (const TypeRow &row : typeRows) {
        if (type == row.type)
            return &row;
    }
    qWarning("Control with the signature %s: no widget gives or takes this type", signature);
    return nullptr;
}

} // namespace

ControlLink::ControlLink(QWidget *widget, std::function<void(const QVariant &)> apply)
    : QObject(widget)
    , m_apply(std::move(apply))
{
}

void ControlLink::connectSlot(QObject *receiver, const char *slot)
{
    if (!receiver || !slot)
        return;
    if (const TypeRow *row = rowFor(slot))
        connect(this, row->signal, receiver, slot);
}

void ControlLink::connectSetter(QObject *receiver, const char *setter)
{
    if (!receiver || !setter)
        return;
    if (const TypeRow *row = rowFor(setter))
        connect(receiver, setter, this, row->slot);
}

void ControlLink::connectEnabler(QObject *receiver, const char *enabler, QWidget *target)
{
    if (!receiver || !enabler)
        return;
    target->setEnabled(false);
    connect(receiver, enabler, target, SLOT(setEnabled(bool)));
}

void ControlLink::reportChange(const QVariant &value)
{
    if (m_setting)
        return;
    Q_EMIT intChanged(value.toInt());
    Q_EMIT doubleChanged(value.toDouble());
    Q_EMIT boolChanged(value.toBool());
    Q_EMIT textChanged(value.toString());
    Q_EMIT indexChanged(value.toModelIndex());
}

void ControlLink::setInt(int value)
{
    put(value);
}

void ControlLink::setDouble(double value)
{
    put(value);
}

void ControlLink::setBool(bool value)
{
    put(value);
}

void ControlLink::setText(const QString &value)
{
    put(value);
}

void ControlLink::setIndex(const QModelIndex &value)
{
    put(value);
}

void ControlLink::put(const QVariant &value)
{
    const QScopedValueRollback<bool> guard(m_setting, true);
    m_apply(value);
}

} // namespace HostKit
