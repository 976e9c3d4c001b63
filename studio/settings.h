#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVariant>

class QSettings;

namespace Studio
{

/// The settings of the application: one INI file behind a table in memory.
///
/// Options are read on every keystroke (the parser asks whether to parse, the document whether
/// to highlight), so a read is one look-up in a hash and never touches the file. A write goes
/// to both and tells the rest of the application through changed().
class Settings : public QObject
{
    Q_OBJECT

public:
    /// Reads the INI file `fileName`; it need not exist yet.
    explicit Settings(const QString &fileName, QObject *parent = nullptr);
    ~Settings() override;

    /// The stored value, else the default that Studio delivers for the key, else `fallback`.
    QVariant value(const QString &key, const QVariant &fallback = QVariant()) const;

    /// Stores a value. An invalid one removes the key, so that its default shows again.
    /// Emits changed() when the value that value() answers is another one afterwards.
    void setValue(const QString &key, const QVariant &value);

    /// Writes what is pending to the file; the destructor does it too.
    void sync();

    /// The last opened project directories, newest first, ten at most.
    QStringList recentProjects() const;
    void addRecentProject(const QString &directory);
    void removeRecentProject(const QString &directory);

signals:
    void changed(const QString &key);

private:
    QSettings *m_store;
    QHash<QString, QVariant> m_values;
    QHash<QString, QVariant> m_defaults;
};

} // namespace Studio
