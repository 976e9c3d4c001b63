#pragma once

#include "mainwindow.h"
#include "tour.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

namespace Studio
{

/// How long a step waits for what it has set off.
constexpr int dialogTimeoutMs = 8000;
/// More than the delay of the brackets and of the block highlight behind the cursor.
constexpr int viewDelayMs = 150;

struct Tour::Private {
    QString source;
    QString pictures;
    QTemporaryDir directory;
    QProcess soundServer;
    QString project; ///< the copy
    QString step;
    int number = 0;
    int failures = 0;
    bool pictureTaken = false;
    bool dialogExpected = false;
    QTimer watch;
    std::unique_ptr<MainWindow> window;
};

} // namespace Studio
