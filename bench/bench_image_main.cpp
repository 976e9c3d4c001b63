// Pictures: codecs, colours and sizes, each beside the plain method and the peers.

#include <wand/MagickWand.h>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    MagickWandGenesis();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    MagickWandTerminus();
    return 0;
}
