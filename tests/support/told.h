#pragma once

#include <tests/support/testhost.h>

#include <QDialog>
#include <QGroupBox>
#include <QMetaEnum>
#include <QMetaProperty>
#include <QRegularExpression>

/// The values of these properties, as far as the object has them, with blanks between. What is
/// enumerated is told by its name.
inline QString told(const QObject &object, const char *names)
{
    QStringList values;
    for (const QString &name : QString(names).split(' ')) {
        const QMetaObject *type = object.metaObject();
        const QMetaProperty property = type->property(type->indexOfProperty(qPrintable(name)));
        const QVariant value = property.read(&object);
        if (property.isEnumType())
            values << property.enumerator().valueToKeys(value.toInt());
        else if (property.isValid())
            values << value.toString();
    }
    return values.join(' ');
}

/// The fields of a dialog, and of its groups, that stand on another one or outside.
inline QStringList misplaced(const QDialog &dialog)
{
    QStringList names;
    for (const QWidget *one : dialog.findChildren<QWidget *>()) {
        const QWidget *parent = one->parentWidget();
        if (!one->isVisible() || !(parent == &dialog || qobject_cast<const QGroupBox *>(parent)))
            continue;
        bool isWrong = !parent->rect().contains(one->geometry());
        for (const QWidget *other :
             parent->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
            isWrong |=
                one != other && other->isVisible() && one->geometry().intersects(other->geometry());
        if (isWrong)
            names << one->metaObject()->className() + (' ' + one->objectName());
    }
    return names;
}

/// What the user sees of the actions and fields whose keys begin so.
inline QString shownFields(const TestHost &host, const QString &prefix)
{
    QStringList lines;
    for (const QObject *each :
         host.mainWindow()->findChildren<QObject *>(QRegularExpression('^' + prefix)))
        lines << each->objectName() + ": " +
                     told(*each, "enabled checked text value minimum maximum accessibleName");
    lines.sort();
    return lines.join('\n');
}
