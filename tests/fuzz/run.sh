#!/usr/bin/env bash
# Runs the fuzz targets. First each one under valgrind, which sees uninitialised memory, on its
# seeds: tests/fuzz/corpus/NAME, where every input that ever broke something is kept, and whole
# files of more than 4,096 bytes that the library writes. Then, built with clang and its sanitizers,
# under libFuzzer for a fixed number of inputs from the same seeds on. What a run found of new paths
# stays in BUILD_DIR/found/NAME/corpus, and the next one goes on there.
#
#   tests/fuzz/run.sh BUILD_DIR [NAME...]      FUZZ_RUNS=N sets one number of inputs for all
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[[ $# -ge 1 ]] || { sed -n 2,8p "${BASH_SOURCE[0]}"; exit 2; }
build=$1
shift

# Targets and numbers of inputs; the slow ones come first.
declare -A runs=(
    [ops]=2000 [write]=1000 [pcx]=30000 [lz5_write]=100000 [qt]=100000 [gif]=400000
    [palette]=250000 [info]=500000 [lz5]=500000 [rle5]=500000 [rle8]=500000)
names=("$@")
[[ ${#names[@]} -gt 0 ]] || names=(ops write pcx lz5_write qt gif palette info lz5 rle5 rle8)

# configure_and_build FOLDER TARGET [OPTIONS...]
configure_and_build() {
    local folder=$1 target=$2
    shift 2
    mkdir -p "$folder"
    cmake -S "$here/../.." -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "$@" \
        -DKILNX_BUILD_FUZZ=ON -DKILNX_BUILD_TESTS=OFF -DKILNX_BUILD_STUDIO=OFF \
        >"$folder/configure.log" || { cat "$folder/configure.log"; exit 1; }
    cmake --build "$folder" --target "$target"
}

# replay_target NAME
replay_target() {
    local files
    mapfile -t files < <(find "$here/corpus/$1" "$build/seeds/$1" -type f | sort)
    if valgrind -q --error-exitcode=9 --leak-check=full "$build/plain/bin/replay_$1" \
        "${files[@]}" >"$build/seeds/$1.log" 2>&1; then
        printf '%-10s %8d seeds under valgrind\n' "$1" "${#files[@]}"
    else
        tail -40 "$build/seeds/$1.log"
        echo "replay_$1 broke on one of its seeds under valgrind" >&2
        return 1
    fi
}

# fuzz_target NAME
fuzz_target() {
    local found="$build/found/$1"
    mkdir -p "$found/corpus"
    if "$build/bin/fuzz_$1" -seed=1 -runs="$2" -timeout=20 -rss_limit_mb=1024 -max_len=16384 \
        -print_final_stats=1 -artifact_prefix="$found/" \
        "$found/corpus" "$here/corpus/$1" "$build/seeds/$1" >"$found/log" 2>&1; then
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
export -f replay_target fuzz_target
export build here UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ASAN_OPTIONS=detect_leaks=1

# Valgrind reads no newer debug information than this.
configure_and_build "$build/plain" replay -DCMAKE_CXX_FLAGS=-gdwarf-4
"$build/plain/bin/fuzz_seeds" "$build/seeds"
printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -L 1 bash -c 'replay_target "$@"' run

configure_and_build "$build" fuzz -DKILNX_SANITIZE=address,undefined,fuzzer-no-link
for name in "${names[@]}"; do
    echo "$name ${FUZZ_RUNS:-${runs[$name]}}"
done | xargs -P "$(nproc)" -L 1 bash -c 'fuzz_target "$@"' run
