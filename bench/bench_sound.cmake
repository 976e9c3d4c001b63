find_package(PkgConfig REQUIRED)
pkg_check_modules(SAMPLERATE REQUIRED IMPORTED_TARGET samplerate)
kilnx_bench(bench_sound SOURCES bench_sound.cpp LIBRARIES PkgConfig::SAMPLERATE kilnx::hostkit Qt5::Concurrent)
