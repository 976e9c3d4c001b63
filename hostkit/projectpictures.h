#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtGui/QImage>

namespace Kiln
{
class ParentProject;
} // namespace Kiln

namespace HostKit
{

class ProjectSession;

/// A small picture of what each project is, for lists of recent ones: its first sprite, as it was
/// when the project was open last.
///
/// It is drawn some seconds after a project was opened, and when one is closed, and kept as a PNG
/// file of a few KB. A project without sprites has none.
class HOSTKIT_EXPORT ProjectPictures : public QObject
{
    Q_OBJECT

public:
    /// What the pictures fit into, in pixels.
    static constexpr QSize Size{96, 64};

    /// Keeps its files below `directory`, which is made when there is something to keep; without a
    /// name nothing is kept.
    ProjectPictures(ProjectSession &session, const QString &directory);

    /// Of `Size`, clear where the sprite is not; null if there is none.
    QImage picture(const QString &project) const;

private:
    void keep(const Kiln::ParentProject *project) const;

    ProjectSession &m_session;
    QString m_directory;
    QTimer m_later;
};

} // namespace HostKit
