#pragma once

#include <QtTest/QtTest>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QTableWidget>

/// Types a name into the field that stands open in the table.
inline void typeIntoTable(const QDialog *dialog, const QString &name)
{
    auto *field = dialog->findChild<QTableWidget *>()->findChild<QLineEdit *>();
    QVERIFY(field);
    QTest::keyClicks(field, name);
}
