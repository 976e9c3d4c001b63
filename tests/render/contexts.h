#pragma once

#include <QApplication>
#include <QSurfaceFormat>
#include <QtTest>

/// The kind of OpenGL context that a test program was started for, by KILNX_TEST_CONTEXT: "core",
/// "none" for a platform without OpenGL, and the compatibility profile otherwise, with "twice" on a
/// display with a scale factor of two.
namespace Contexts
{

inline QByteArray kind()
{
    return qgetenv("KILNX_TEST_CONTEXT");
}
inline bool none()
{
    return kind() == "none";
}
inline bool core()
{
    return kind() == "core";
}

/// The body of main() of a test of this room.
template<typename Test>
int run(int argc, char **argv)
{
    QSurfaceFormat format;
    format.setVersion(core() ? 3 : 2, core() ? 3 : 1);
    format.setProfile(core() ? QSurfaceFormat::CoreProfile : QSurfaceFormat::NoProfile);
    QSurfaceFormat::setDefaultFormat(format);
    if (kind() == "twice")
        qputenv("QT_SCALE_FACTOR", "2");
    if (none()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qunsetenv("DISPLAY"); // with a display, this platform too has OpenGL
    }
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

} // namespace Contexts
