# The editor stands in a host of the kit, on a copy of the sample project.
kilnx_bench(bench_animation_editor
    SOURCES bench_animation_editor.cpp
    LIBRARIES kilnx::hostkit Qt5::Test)
target_compile_definitions(bench_animation_editor PRIVATE ENGINE="$<TARGET_FILE:ember>")
