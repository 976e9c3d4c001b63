find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
pkg_check_modules(BENCH_IMAGEQUANT REQUIRED IMPORTED_TARGET imagequant)
pkg_check_modules(BENCH_MAGICK REQUIRED IMPORTED_TARGET MagickWand)
pkg_check_modules(BENCH_AVFILTER REQUIRED IMPORTED_TARGET libavfilter libavutil)
# The plain methods are those that the tests compare with.
kilnx_bench(bench_image
    SOURCES
        bench_image_codecs.cpp bench_image_colors.cpp bench_image_sizes.cpp bench_image_main.cpp
        ${CMAKE_SOURCE_DIR}/tests/image/plaincodecs.cpp ${CMAKE_SOURCE_DIR}/tests/image/plainops.cpp
    LIBRARIES
        PkgConfig::BENCH_IMAGEQUANT PkgConfig::BENCH_MAGICK PkgConfig::BENCH_AVFILTER ZLIB::ZLIB)
target_compile_options(bench_image PRIVATE -ffp-contract=off)
