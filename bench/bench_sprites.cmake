# Pictures are added through the editor, which stands in a host of the kit.
kilnx_bench(bench_sprites SOURCES bench_sprites.cpp LIBRARIES kilnx::hostkit)
target_compile_definitions(bench_sprites PRIVATE ENGINE="$<TARGET_FILE:ember>")
