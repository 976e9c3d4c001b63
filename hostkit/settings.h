#pragma once

#include <hostkit/export.h>

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class QSettings;

namespace HostKit
{

/// The settings of the application: one INI file behind a table in memory.
///
/// Options are read on every keystroke (the parser asks whether to parse, the document whether
/// to highlight), so a read is one look-up in a hash and never touches the file. A write goes
/// to both.
class HOSTKIT_EXPORT Settings : public QObject
{
    Q_OBJECT

public:
    /// Reads the INI file `fileName`, which need not exist yet; without a name nothing is kept.
    explicit Settings(const QString &fileName, QObject *parent = nullptr);
    ~Settings() override;

    /// The stored value, else the default that the kit delivers for the key, else `fallback`.
    QVariant value(const QString &key, const QVariant &fallback = QVariant()) const;

    /// Stores a value. An invalid one removes the key, so that its default shows again.
    void setValue(const QString &key, const QVariant &value);

    /// Writes what is pending to the file; the destructor does it too.
    void sync();

    /// The last opened project directories, newest first, ten at most; recentChanged() follows
    /// each change.
    QStringList recentProjects() const;
    void addRecentProject(const QString &directory);
    void removeRecentProject(const QString &directory);

    /// Has everything follow the options that were stored: emits applied(). A single option that
    /// an editor stores for itself needs none of this.
    void apply();

Q_SIGNALS:
    /// Everybody reads the options again.
    void applied();
    /// recentProjects() is another list.
    void recentChanged();

private:
    void bound(const QString &key, int least, int most);
    void readRecent();
    void setRecent(const QStringList &recent);

    QSettings *m_store = nullptr; ///< null without a file
    QHash<QString, QVariant> m_values;
    QHash<QString, QVariant> m_defaults;
};

} // namespace HostKit
