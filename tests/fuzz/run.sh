#!/usr/bin/env bash
# Builds the fuzz targets with clang in BUILD_DIR and runs each for a fixed number of inputs, from
# its seeds in tests/fuzz/corpus/NAME on. Every input that ever broke a decoder is among the seeds.
# What a run found of new paths stays in BUILD_DIR/found/NAME/corpus, and the next one goes on there.
#
#   tests/fuzz/run.sh BUILD_DIR [NAME...]      FUZZ_RUNS=N sets one number of inputs for all
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[[ $# -ge 1 ]] || { sed -n 2,6p "${BASH_SOURCE[0]}"; exit 2; }
build=$1
shift

mkdir -p "$build"
cmake -S "$here/../.." -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DKILNX_SANITIZE=address,undefined,fuzzer-no-link \
    -DKILNX_BUILD_FUZZ=ON -DKILNX_BUILD_TESTS=OFF -DKILNX_BUILD_STUDIO=OFF >"$build/configure.log" ||
    { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target fuzz

# Targets and numbers of inputs; the slow ones come first.
declare -A runs=(
    [pcx]=60000 [qt]=100000 [lz5_write]=250000 [gif]=1000000 [palette]=500000
    [info]=1000000 [lz5]=1000000 [rle5]=1000000 [rle8]=1000000)
names=("$@")
[[ ${#names[@]} -gt 0 ]] || names=(pcx qt lz5_write gif palette info lz5 rle5 rle8)

# run_target NAME RUNS
run_target() {
    local found="$build/found/$1"
    mkdir -p "$found/corpus"
    if "$build/bin/fuzz_$1" -seed=1 -runs="$2" -timeout=20 -rss_limit_mb=1024 -max_len=4096 \
        -print_final_stats=1 -artifact_prefix="$found/" \
        "$found/corpus" "$here/corpus/$1" >"$found/log" 2>&1; then
        awk -v name="$1" '/number_of_executed_units/ { runs = $2 }
            { for (i = 1; i < NF; ++i) { if ($i == "cov:") edges = $(i + 1)
                                         if ($i == "ft:") features = $(i + 1) } }
            END { printf "%-10s %8d inputs %5d edges %6d features\n", name, runs, edges, features }
            ' "$found/log"
    else
        tail -40 "$found/log"
        echo "fuzz_$1 broke; its input is in $found" >&2
        return 1
    fi
}
export -f run_target
export build here UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ASAN_OPTIONS=detect_leaks=1
for name in "${names[@]}"; do
    echo "$name ${FUZZ_RUNS:-${runs[$name]}}"
done | xargs -P "$(nproc)" -L 1 bash -c 'run_target "$@"' run
