find_package(ZLIB REQUIRED)
kilnx_bench(bench_cache SOURCES bench_cache.cpp LIBRARIES ZLIB::ZLIB)
