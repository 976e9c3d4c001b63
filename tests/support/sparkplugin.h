#pragma once

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <tests/support/release.h>

#include <QLibrary>

#include <memory>

/// The engine Spark, as a host loads it.
inline Kiln::EnginePlugin &sparkPlugin()
{
    QLibrary library(QString(SPARK_LIBRARY));
    const auto entry =
        reinterpret_cast<Kiln::EnginePlugin *(*)()>(library.resolve("kilnxEnginePlugin"));
    if (!entry)
        qFatal("%s", qPrintable(library.errorString()));
    return *entry();
}

using SparkFile = std::unique_ptr<Kiln::CodeDocument, Release>;

/// A file of Spark in no project.
inline SparkFile sparkFile(const QString &text = QString())
{
    Kiln::ProjectFile *file =
        sparkPlugin().engine().createFile(Kiln::Project::FileID::Code, nullptr);
    SparkFile document(dynamic_cast<Kiln::CodeDocument *>(file));
    document->fromString(text);
    return document;
}
