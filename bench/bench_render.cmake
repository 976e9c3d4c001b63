# The scene is made of what the tests use.
kilnx_bench(bench_render
    SOURCES
        bench_render.cpp
        ${CMAKE_SOURCE_DIR}/tests/render/fakeview.cpp ${CMAKE_SOURCE_DIR}/tests/render/fakeview.h
    LIBRARIES kilnx::hostkit)
