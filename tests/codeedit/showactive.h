#pragma once

#include <QApplication>
#include <QTest>
#include <QWidget>

/// Shows a widget and waits until it has the keyboard.
inline bool showActive(QWidget &widget)
{
    widget.show();
    widget.activateWindow();
    QApplication::setActiveWindow(&widget);
    return QTest::qWaitForWindowExposed(&widget) && QTest::qWaitForWindowActive(&widget);
}
