#pragma once

// Needs sol2 and Lua 5.3: where a host hands a Lua state to the library, put their directories on
// the include path. <kilnx/kilnx.h> includes this header only there.

#include <kilnx/export.h>

#include <QtCore/QString>

#include <sol/sol.hpp>

/// A `QString` is a Lua string in UTF-8, both ways. sol2 finds these three by itself.
inline int sol_lua_push(sol::types<QString>, lua_State *state, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    lua_pushlstring(state, utf8.constData(), static_cast<size_t>(utf8.size()));
    return 1;
}

inline QString
sol_lua_get(sol::types<QString>, lua_State *state, int index, sol::stack::record &tracking)
{
    tracking.use(1);
    size_t size = 0;
    const char *utf8 = lua_tolstring(state, index, &size);
    return QString::fromUtf8(utf8, static_cast<int>(size));
}

template<class Handler>
bool sol_lua_check(sol::types<QString>,
                   lua_State *state,
                   int index,
                   Handler &&handler,
                   sol::stack::record &tracking)
{
    return sol::stack::check<const char *>(state, index, std::forward<Handler>(handler), tracking);
}

namespace Kiln
{

/// Publishes the description of engines to scripts, in a table of the host's:
///
/// - `ProjectType`, a read-only table: Character 0, Background 1, Font 2, Scene 3, Motif 4,
///   Level 5, Game 6.
/// - `Engine`, a class that scripts cannot construct, with the read-only properties `path` (the
///   engine's directory below `Interface::dataPath()`), `commentCharacter`, `displayName`,
///   `executable` and `fileFilter`, and the methods `singleFileFilters()`, which gives a new table
///   from file types to patterns, and `createFile(type, project)`, which gives the new file or nil.
///
/// The host then sets what engines and projects it wants to show, as in `lua["engine"] = engine;`
/// with an `Engine *`. A pointer stays the host's: the state may be closed before or after the
/// engine is destroyed, but a script must not touch an engine that is gone. Projects and files are
/// objects without members, which a script can only pass on.
///
/// The library's own bindings are compiled with sol2's checks: a wrong argument of a script is a
/// Lua error. What the host itself reads from the state is checked only when the host defines
/// `SOL_ALL_SAFETIES_ON` as 1 for all of its files that include sol2; it should.
KILNX_EXPORT void registerScriptClasses(sol::table &target);

/// The same in the global table of a state.
inline void registerScriptClasses(sol::state_view state)
{
    sol::table globals = state.globals();
    registerScriptClasses(globals);
}

} // namespace Kiln
