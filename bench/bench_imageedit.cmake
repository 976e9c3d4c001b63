find_package(PkgConfig REQUIRED)
pkg_check_modules(BENCH_MAGICK REQUIRED IMPORTED_TARGET MagickWand)
kilnx_bench(bench_imageedit SOURCES bench_imageedit.cpp LIBRARIES PkgConfig::BENCH_MAGICK)
