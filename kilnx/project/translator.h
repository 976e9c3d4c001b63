#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

#include <kilnx/export.h>

namespace Kiln
{

/// Display texts by number.
///
/// Every action and caption of an editor is registered with a number instead of a string, so that
/// a host can build menus, tool bars and a shortcut list from one table and ask again when the
/// language changes.
class KILNX_EXPORT Translator
{
public:
    virtual ~Translator();

    /// The display name of an action or caption; empty for an unknown id.
    virtual QString text(int id) const = 0;
    /// The longer tool tip of the same id; `text(id)` unless overridden.
    virtual QString hint(int id) const;
    /// A third, still longer text of the same id; a null string unless overridden.
    virtual QString description(int id) const;
};

/// The library's own table: the names and tool tips of all editor actions, ids 0 to 178.
///
/// All texts go through Qt translation in the context "Kiln::Translator"; the English wording is
/// the key of the translation files. An id outside the table gives an empty string, and so does
/// the hint of an id that has none.
class KILNX_EXPORT KilnTranslator : public QObject, public Translator
{
    Q_OBJECT

public:
    /// How many ids the table has; the last one is `idCount - 1`.
    static constexpr int idCount = 179;

    /// The one object of the process, made on first use and never null.
    static KilnTranslator *instance();

    QString text(int id) const override;
    QString hint(int id) const override;

private:
    KilnTranslator() = default;
};

} // namespace Kiln
