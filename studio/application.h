#pragma once

#include <QApplication>

namespace Studio
{

/// Sets what must be set before the application object is made, and the name that leads to the
/// user's settings.
inline void prepareApplication()
{
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication::setApplicationName(QStringLiteral("kiln-studio"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kiln Studio"));
}

} // namespace Studio
