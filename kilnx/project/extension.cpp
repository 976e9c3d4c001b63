#include <kilnx/project/extension.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>

#include <array>
#include <memory>

namespace Kiln
{

namespace
{

using RegisterFunction = void (*)(ExtensionManager *);

// Process-wide, made on first use, and emptied but never freed: a static object's end could come
// after the end of what it points at.
struct Registry {
    std::array<QList<Extension *>, Extension::TypeCount> lists;
    QList<QLibrary *> libraries;
    const QList<Extension *> none;

    static Registry &instance()
    {
        static auto *registry = new Registry;
        return *registry;
    }
};

bool isListed(int type)
{
    return type >= 0 && type < Extension::TypeCount;
}

// A plug-in's own fault must not end the host; what it added before stays.
void callRegistration(RegisterFunction function, ExtensionManager *manager)
{
    try {
        function(manager);
    } catch (...) {
    }
}

} // namespace

Extension::~Extension() = default;

QString Extension::displayName()
{
    return QString();
}

ExtensionManager::ExtensionManager(const QString &directory)
{
    const QDir files(directory);
    const QStringList names = files.entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &name : names) {
        // Asked for a relative "x.so", QLibrary prefers "libx.so".
        auto library = std::make_unique<QLibrary>(files.absoluteFilePath(name));
        auto function = reinterpret_cast<RegisterFunction>(library->resolve("registerExtension"));
        // Asked for "x", QLibrary also tries "libx.so", which has its own turn in this list.
        if (!function || QFileInfo(library->fileName()).fileName() != name)
            continue;
        Registry::instance().libraries.append(library.release());
        callRegistration(function, this);
    }
}

ExtensionManager::~ExtensionManager()
{
    Registry &registry = Registry::instance();
    for (QList<Extension *> &extensions : registry.lists) {
        while (!extensions.isEmpty())
            delete extensions.takeLast();
    }
    while (!registry.libraries.isEmpty())
        delete registry.libraries.takeLast();
}

void ExtensionManager::add(Extension *extension)
{
    if (!extension)
        return;
    const int type = extension->type();
    if (isListed(type))
        Registry::instance().lists[type].append(extension);
    else
        delete extension;
}

const QList<Extension *> &ExtensionManager::list(Extension::Type type)
{
    Registry &registry = Registry::instance();
    return isListed(type) ? registry.lists[type] : registry.none;
}

} // namespace Kiln
