#include <hostkit/settings.h>

#include <QDir>
#include <QFontDatabase>
#include <QFontInfo>
#include <QSettings>

namespace HostKit
{

namespace
{

const int maximumRecent = 10;
const char recentKey[] = "recent_projects";

QHash<QString, QVariant> deliveredDefaults()
{
    // A platform without a theme names a proportional font here.
    QString fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
    if (!QFontInfo(QFont(fixed)).fixedPitch())
        fixed = QFontInfo(QFont(QStringLiteral("monospace"))).family();
    return {
        {"parseCode", true},
        {"modelCode", true},
        {"highlightCode", true},
        {"auto_expand_tree", true},
        {"enable_file_watcher", true},
        {"reload_unchanged", true},
        {"use_native_open", true},
        {"sort_file_names", true},
        {"show_organizer", true},
        {"show_code_bar", true},
        {"code_line_numbers", true},
        {"code_highlight_line", true},
        {"code_highlight_blocks", true},
        {"code_folding_markers", true},
        {"code_paren_matching", true},
        {"code_auto_indent", true},
        {"code_tab_width", 4},
        {"code_wrap", false},
        {"reopen_last_project", true},
        {"theme", "system"},
        {"show_cross1", true},
        {"show_rulers", true},
        {"show_guides", true},
        {"show_attack_box", true},
        {"show_collision_box", true},
        {"onion_skin", true},
        {"onion_effect", 0},
        {"onion_opacity", 0.35},
        {"guide_x", -48},
        {"guide_y", -80},
        {"background_type", 1}, // the stage
        {"box_opacity", 0.5},
        {"zoom_center", 1}, // whole steps
        {"zoom_level", 3},  // twice the size
        {"font_name", fixed},
        {"font_size", 10},
    };
}

} // namespace

Settings::Settings(const QString &fileName, QObject *parent)
    : QObject(parent)
    , m_defaults(deliveredDefaults())
{
    if (fileName.isEmpty())
        return;
    m_store = new QSettings(fileName, QSettings::IniFormat, this);
    m_store->setFallbacksEnabled(false);
    const QStringList keys = m_store->allKeys();
    for (const QString &key : keys)
        m_values.insert(key, m_store->value(key));
    bound("font_size", 5, 72);
    bound("code_tab_width", 1, 32);
}

// What was written by hand, or torn, may be a number that no text can be read with.
void Settings::bound(const QString &key, int least, int most)
{
    const auto stored = m_values.find(key);
    if (stored != m_values.end())
        *stored = qBound(least, stored->toInt(), most);
}

Settings::~Settings() = default;

QVariant Settings::value(const QString &key, const QVariant &fallback) const
{
    const auto stored = m_values.constFind(key);
    return stored != m_values.constEnd() ? *stored : m_defaults.value(key, fallback);
}

void Settings::setValue(const QString &key, const QVariant &value)
{
    if (value.isValid())
        m_values.insert(key, value);
    else
        m_values.remove(key);
    if (m_store && value.isValid())
        m_store->setValue(key, value);
    else if (m_store)
        m_store->remove(key);
}

void Settings::sync()
{
    if (m_store)
        m_store->sync();
}

QStringList Settings::recentProjects() const
{
    return value(QLatin1String(recentKey)).toStringList();
}

void Settings::addRecentProject(const QString &directory)
{
    const QString path = QDir::cleanPath(directory);
    readRecent();
    QStringList recent = recentProjects();
    recent.removeAll(path);
    recent.prepend(path);
    setRecent(recent.mid(0, maximumRecent));
}

void Settings::removeRecentProject(const QString &directory)
{
    readRecent();
    QStringList recent = recentProjects();
    recent.removeAll(QDir::cleanPath(directory));
    setRecent(recent);
}

void Settings::apply()
{
    sync();
    Q_EMIT applied();
}

// Another host on the same file may have opened projects, too.
void Settings::readRecent()
{
    if (!m_store)
        return;
    m_store->sync();
    m_values.insert(QLatin1String(recentKey), m_store->value(QLatin1String(recentKey)));
}

void Settings::setRecent(const QStringList &recent)
{
    if (recent == recentProjects())
        return;
    setValue(QLatin1String(recentKey), recent);
    sync();
    Q_EMIT recentChanged();
}

} // namespace HostKit
