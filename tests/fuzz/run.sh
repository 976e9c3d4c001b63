#!/usr/bin/env bash
# Builds the fuzz targets with clang in BUILD_DIR and runs each for a fixed number of inputs, from
# its seeds in tests/fuzz/corpus/NAME on. Every input that ever broke a decoder is among the seeds.
#
#   tests/fuzz/run.sh BUILD_DIR [NAME...]      FUZZ_RUNS=N changes the number of inputs
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[[ $# -ge 1 ]] || { sed -n 2,5p "${BASH_SOURCE[0]}"; exit 2; }
build=$1
shift

mkdir -p "$build"
cmake -S "$here/../.." -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DKILNX_SANITIZE=address,undefined,fuzzer-no-link \
    -DKILNX_BUILD_FUZZ=ON -DKILNX_BUILD_TESTS=OFF -DKILNX_BUILD_STUDIO=OFF >"$build/configure.log" ||
    { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target fuzz

names=("$@")
[[ ${#names[@]} -gt 0 ]] || names=(gif info lz5 lz5_write palette pcx qt rle5 rle8)
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ASAN_OPTIONS=detect_leaks=1
for name in "${names[@]}"; do
    found="$build/found/$name"
    mkdir -p "$found/corpus"
    printf '%-12s' "$name"
    if "$build/bin/fuzz_$name" -seed=1 -runs="${FUZZ_RUNS:-30000}" -timeout=20 \
        -rss_limit_mb=1024 -max_len=4096 -print_final_stats=1 -artifact_prefix="$found/" \
        "$found/corpus" "$here/corpus/$name" >"$found/log" 2>&1; then
        awk '/number_of_executed_units/ { runs = $2 }
            /cov:/ { for (i = 1; i < NF; ++i) if ($i == "cov:") edges = $(i + 1) }
            END { print runs " inputs, " edges " edges" }' "$found/log"
    else
        tail -40 "$found/log"
        echo "fuzz_$name broke; its input is in $found" >&2
        exit 1
    fi
done
