#pragma once

#include <kilnx/code/codedocument.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>

#include <QLibrary>

#include <memory>

/// The engine Spark, as a host loads it.
inline Kiln::EnginePlugin &sparkPlugin()
{
    QLibrary library(QStringLiteral(SPARK_LIBRARY));
    const auto entry =
        reinterpret_cast<Kiln::EnginePlugin *(*)()>(library.resolve("kilnxEnginePlugin"));
    if (!entry)
        qFatal("%s", qPrintable(library.errorString()));
    return *entry();
}

struct ReleaseFile {
    void operator()(Kiln::ProjectFile *file) const { file->release(); }
};
using SparkFile = std::unique_ptr<Kiln::CodeDocument, ReleaseFile>;

/// A file of Spark in no project.
inline SparkFile sparkFile(const QString &text = QString())
{
    Kiln::ProjectFile *file =
        sparkPlugin().engine().createFile(Kiln::Project::FileID::Code, nullptr);
    SparkFile document(dynamic_cast<Kiln::CodeDocument *>(file));
    document->fromString(text);
    return document;
}
