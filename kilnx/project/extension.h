#pragma once

#include <kilnx/export.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QImage;
class QIODevice;

namespace Kiln
{

class Animations;
struct RGBA;
struct SoundSample;

/// A file format that is added from outside: one object for each format and direction.
///
/// Derive from one of the typed classes below (`SoundReader`, `ImageWriter`, ...), which fix the
/// list and the form of the conversion. Hand the object to `ExtensionManager::add`; from then on
/// the manager owns it. The library asks its built-in formats first, then the extensions in their
/// order of registration, and stops at the first that succeeds.
class KILNX_EXPORT Extension
{
public:
    /// The list in which an extension is kept. There are `TypeCount` lists; the numbers without a
    /// name are free for hosts.
    enum Type : int {
        ImageReaders = 1,
        ImageWriters = 2,
        PaletteReaders = 3,
        PaletteWriters = 4,
        SoundReaders = 5,
        SoundWriters = 6,
        AnimationExporters = 9,
        AnimationImporters = 10,
        TypeCount = 16
    };

    /// Reserved: keeps its place in the table of operations, and is never called.
    virtual void extensionReserved0() {}
    virtual ~Extension();
    /// The list that this object belongs in. The typed classes answer for you.
    virtual Type type() = 0;
    /// The format word that this object serves, compared letter for letter with the one that is
    /// asked for: upper case for pictures and palettes ("TGA"), lower case for sounds ("flac").
    /// The bytes stay owned by the extension.
    virtual const char *format() = 0;
    /// The name of the format for file dialogs, as in "Truevision (*.tga)". The library's own
    /// format functions do not ask for it. Empty by default.
    virtual QString displayName();
};

/// Reads a picture. On success `image` is replaced, and true returned; after false its value
/// counts as untouched.
class KILNX_EXPORT ImageReader : public Extension
{
public:
    static constexpr Type list = ImageReaders;
    Type type() override { return list; }
    virtual bool read(QIODevice *device, QImage &image) = 0;
};

/// Writes a picture, which is never null.
class KILNX_EXPORT ImageWriter : public Extension
{
public:
    static constexpr Type list = ImageWriters;
    Type type() override { return list; }
    virtual bool write(const QImage &image, QIODevice *device) = 0;
};

/// Reads a palette into `palette`, which holds 256 entries.
class KILNX_EXPORT PaletteReader : public Extension
{
public:
    static constexpr Type list = PaletteReaders;
    Type type() override { return list; }
    virtual bool read(QIODevice *device, RGBA *palette) = 0;
};

/// Writes the 256 entries of `palette`.
class KILNX_EXPORT PaletteWriter : public Extension
{
public:
    static constexpr Type list = PaletteWriters;
    Type type() override { return list; }
    virtual bool write(const RGBA *palette, QIODevice *device) = 0;
};

/// Reads a sound. The samples count as read when `sample.data` is not empty afterwards.
class KILNX_EXPORT SoundReader : public Extension
{
public:
    static constexpr Type list = SoundReaders;
    Type type() override { return list; }
    virtual bool read(QIODevice *device, SoundSample &sample) = 0;
};

/// Writes a sound.
class KILNX_EXPORT SoundWriter : public Extension
{
public:
    static constexpr Type list = SoundWriters;
    Type type() override { return list; }
    virtual bool write(const SoundSample &sample, QIODevice *device) = 0;
};

/// Writes the animations whose rows in `animations` are in `rows`, in that order.
class KILNX_EXPORT AnimationExporter : public Extension
{
public:
    static constexpr Type list = AnimationExporters;
    Type type() override { return list; }
    virtual bool write(Animations &animations, const QList<int> &rows, QIODevice *device) = 0;
};

/// Reads animations into `texts`: an entry for each animation, which is its text in the code
/// language of the current engine. The animation editor puts them into the document, and asks the
/// user about those that exist already.
class KILNX_EXPORT AnimationImporter : public Extension
{
public:
    static constexpr Type list = AnimationImporters;
    Type type() override { return list; }
    virtual bool read(QIODevice *device, QStringList &texts) = 0;
};

/// Loads the plug-in libraries of a directory, and destroys what they registered.
///
/// A plug-in exports one plain C function, in which it adds each of its objects:
///
///     extern "C" Q_DECL_EXPORT void registerExtension(Kiln::ExtensionManager *)
///     {
///         Kiln::ExtensionManager::add(new FlacReader);
///     }
///
/// The lists are process-wide and have no lock: the host makes one manager, on the GUI thread,
/// after `setGlobalInterface` and before any file work, and keeps it until the end. Without a
/// manager the lists are empty, or hold what was added by hand.
class KILNX_EXPORT ExtensionManager
{
public:
    /// Loads each file of `directory`, sorted by name, that is a library with the symbol
    /// "registerExtension", and calls that function. Every other file is passed over in silence,
    /// and so is a directory that cannot be read. A function that throws keeps what it added.
    explicit ExtensionManager(const QString &directory);
    /// Deletes all extensions, list by list from 0 and the last of each list first, and then lets
    /// go of the libraries that hold their code, the last first.
    ~ExtensionManager();
    ExtensionManager(const ExtensionManager &) = delete;
    ExtensionManager &operator=(const ExtensionManager &) = delete;

    /// Appends to the list of `extension->type()` and takes the object over. An object of a type
    /// outside 0 to 15 is deleted at once; null is ignored.
    static void add(Extension *extension);
    /// The extensions of a type in order of registration; empty for a value outside 0 to 15.
    static const QList<Extension *> &list(Extension::Type type);

    /// Offers a conversion to each extension of the class `E` that serves `format`, in order of
    /// registration. `convert` takes an `E &` and returns whether it succeeded; the first success
    /// ends the search with true. False when none succeeds, or for a null format. What `convert`
    /// adds to the list is asked from the next search on.
    template<class E, class Convert>
    static bool convert(const char *format, Convert &&convert)
    {
        const QList<Extension *> extensions = list(E::list);
        for (Extension *extension : extensions) {
            auto *typed = dynamic_cast<E *>(extension);
            if (typed && format && qstrcmp(typed->format(), format) == 0 && convert(*typed))
                return true;
        }
        return false;
    }
};

} // namespace Kiln
