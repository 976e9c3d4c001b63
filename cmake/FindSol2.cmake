# Finds sol2, the C++ face of Lua, and Lua itself: the target Sol2::Sol2.
#
# The headers come from the system or, where it has none, from .deps/sol2, which
# cmake/fetch-sol2.sh fills; it is run here when neither is there.

set(sol2_hints "${CMAKE_CURRENT_LIST_DIR}/../.deps/sol2/usr/include")
find_path(SOL2_INCLUDE_DIR sol/sol.hpp HINTS "${sol2_hints}")
if(NOT SOL2_INCLUDE_DIR)
    message(STATUS "Fetching sol2 into .deps")
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/fetch-sol2.sh")
    find_path(SOL2_INCLUDE_DIR sol/sol.hpp HINTS "${sol2_hints}")
endif()

find_package(PkgConfig)
pkg_check_modules(SOL2_LUA IMPORTED_TARGET lua5.3)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Sol2 REQUIRED_VARS SOL2_INCLUDE_DIR SOL2_LUA_FOUND)
mark_as_advanced(SOL2_INCLUDE_DIR)

if(Sol2_FOUND AND NOT TARGET Sol2::Sol2)
    add_library(Sol2::Sol2 INTERFACE IMPORTED)
    target_include_directories(Sol2::Sol2 SYSTEM INTERFACE "${SOL2_INCLUDE_DIR}")
    target_link_libraries(Sol2::Sol2 INTERFACE PkgConfig::SOL2_LUA)
endif()
