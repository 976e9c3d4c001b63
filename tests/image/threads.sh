#!/usr/bin/env bash
# Reads and writes pictures on many threads at once under the thread sanitizer, in a build folder of
# its own. The same test runs without it in ./kiln test.
#
#   tests/image/threads.sh BUILD_DIR
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[[ $# -eq 1 ]] || { sed -n 2,5p "${BASH_SOURCE[0]}"; exit 2; }
build=$1

mkdir -p "$build"
cmake -S "$here/../.." -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g1 -O1" \
    -DKILNX_SANITIZE=thread >"$build/configure.log" || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target tst_imagefiles
TSAN_OPTIONS="suppressions=$here/threads.supp halt_on_error=1" QT_QPA_PLATFORM=offscreen \
    "$build/bin/tst_imagefiles" manyThreadsAtOnce
