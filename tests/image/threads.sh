#!/usr/bin/env bash
# Reads and writes pictures on many threads at once under the thread sanitizer, in a build folder of
# its own: directly, in the sprite editor and for thumbnails. The same tests run without it in
# ./kiln test.
#
#   tests/image/threads.sh BUILD_DIR
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[[ $# -eq 1 ]] || { sed -n 2,5p "${BASH_SOURCE[0]}"; exit 2; }
build=$1

mkdir -p "$build"
cmake -S "$here/../.." -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g1 -O1" \
    -DKILNX_SANITIZE=thread >"$build/configure.log" || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target tst_imagefiles tst_spritefiles tst_thumbnails

export TSAN_OPTIONS="suppressions=$here/threads.supp halt_on_error=1"
run() {
    echo "$*"
    "$here/../../cmake/own-display.sh" "$build/bin/$1" "${@:2}"
}
run tst_imagefiles manyThreadsAtOnce
# Pictures that the sprite editor reads, and those of the thumbnails, on the threads of pools.
run tst_spritefiles addsFiles stopsAdding
run tst_thumbnails showsManySprites changesUnderWay survivesItsFile
