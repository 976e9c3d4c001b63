# Compiler settings shared by every target, and the functions that declare rooms, tests and
# benchmarks in one line each.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
# A program need not be linked again because a shared library that it runs with has changed inside.
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_program(KILNX_CCACHE ccache)
if(KILNX_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KILNX_CCACHE}")
    set(CMAKE_C_COMPILER_LAUNCHER "${KILNX_CCACHE}")
endif()

# The presets of developers name lld, which links in a fifth of the default linker's time.
if(KILNX_LINKER)
    find_program(KILNX_LINKER_PROGRAM "ld.${KILNX_LINKER}")
    if(KILNX_LINKER_PROGRAM)
        add_link_options("-fuse-ld=${KILNX_LINKER}")
    endif()
endif()

add_compile_options(-Wall -Wextra)
# ccache can only reuse a precompiled header that is named the same way each time.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
endif()
if(KILNX_WERROR)
    add_compile_options(-Werror)
endif()
if(KILNX_SANITIZE)
    add_compile_options(-fsanitize=${KILNX_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KILNX_SANITIZE})
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS)

# kilnx_room(NAME SOURCES... [LIBRARIES ...])
# A room of the library: an object library `kilnx_NAME` that is linked into kilnx.
function(kilnx_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_library(kilnx_${name} OBJECT ${ROOM_SOURCES})
    target_compile_definitions(kilnx_${name} PRIVATE KILNX_LIBRARY)
    target_include_directories(kilnx_${name} PUBLIC "${CMAKE_SOURCE_DIR}")
    target_link_libraries(kilnx_${name} PUBLIC Qt5::Core Qt5::Gui Qt5::Widgets ${ROOM_LIBRARIES})
    target_precompile_headers(kilnx_${name} REUSE_FROM kilnx_pch)
    target_link_libraries(kilnx PRIVATE kilnx_${name})
endfunction()

# kilnx_engine(NAME)
# Puts the library NAME, which exports an engine, where hosts find it: below "lib/kilnx/engines", in
# the build tree and in the install tree.
function(kilnx_engine name)
    set_target_properties(${name} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/kilnx/engines"
        INSTALL_RPATH "$ORIGIN/../..")
    install(TARGETS ${name} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/kilnx/engines")
endfunction()

# kilnx_test(NAME SOURCES... [LIBRARIES ...])
# One Qt Test program, with the test host and the sample engine at hand, on a display of its own.
function(kilnx_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE testsupport ${TEST_LIBRARIES})
    target_precompile_headers(${name} REUSE_FROM testsupport)
    target_compile_definitions(${name} PRIVATE
        KILN_SOURCE_DIR="${CMAKE_SOURCE_DIR}" KILN_BINARY_DIR="${CMAKE_BINARY_DIR}")
    add_test(NAME ${name} COMMAND "${CMAKE_SOURCE_DIR}/cmake/own-display.sh" $<TARGET_FILE:${name}>)
    # What Mesa's driver keeps looks like a leak once Qt has unloaded it: there it stays loaded.
    set(preload "")
    if(KILNX_SANITIZE)
        set(preload "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/dri/swrast_dri.so")
    endif()
    set_tests_properties(${name} PROPERTIES
        TIMEOUT 600
        ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0;ASAN_OPTIONS=detect_stack_use_after_return=0:verify_asan_link_order=0;UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1;KILNX_PRELOAD=${preload}")
endfunction()

# kilnx_bench(NAME SOURCES... [LIBRARIES ...])
# One Google Benchmark program.
function(kilnx_bench name)
    cmake_parse_arguments(BENCH "" "" "SOURCES;LIBRARIES" ${ARGN})
    find_package(benchmark REQUIRED)
    add_executable(${name} ${BENCH_SOURCES})
    target_link_libraries(${name} PRIVATE kilnx::kilnx ember Qt5::Widgets benchmark::benchmark
        ${BENCH_LIBRARIES})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    target_compile_definitions(${name} PRIVATE KILN_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
    set_property(GLOBAL APPEND PROPERTY KILNX_BENCHES ${name})
endfunction()
