# The peers of the code view: QScintilla, which has no CMake config, and KTextEditor.
find_package(KF5TextEditor REQUIRED)
find_library(QSCINTILLA_LIBRARY qscintilla2_qt5 REQUIRED)
find_package(Qt5 5.15 REQUIRED COMPONENTS Test)
kilnx_bench(bench_codeedit
    SOURCES
        bench_codeedit.cpp codeviews.cpp codeviews.h
        ../tests/support/testhost.cpp ../tests/support/dialogscript.cpp
    LIBRARIES kilnx::hostkit KF5::TextEditor "${QSCINTILLA_LIBRARY}" Qt5::Test)
