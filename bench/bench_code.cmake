kilnx_bench(bench_code
    SOURCES bench_code.cpp ../tests/code/plaincode.cpp ../tests/code/plaincode.h)
