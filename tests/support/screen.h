#pragma once

#include <QCoreApplication>
#include <QImage>
#include <QScreen>
#include <QTest>
#include <QWidget>

/// What the screen shows of a window once all has been painted that asks for it.
inline QImage onScreen(const QWidget &window)
{
    for (int i = 0; i < 2; ++i)
        QCoreApplication::processEvents();
    const QImage shown = window.screen()->grabWindow(window.winId()).toImage();
    return shown.convertToFormat(QImage::Format_RGB32);
}

/// Whether that becomes what painting the whole window anew would show.
inline bool showsItself(QWidget &window)
{
    return QTest::qWaitFor([&window] {
        const QImage shown = onScreen(window);
        return shown == window.grab().toImage().convertToFormat(QImage::Format_RGB32);
    });
}
