#!/usr/bin/env bash
# Does what docs/writing-an-engine.md tells an engine's author to do, with the page's own lines: builds
# a copy of Spark and of its test against the install tree and nothing else, and runs the test.
#   spark.sh BUILD_DIR SOURCE_DIR [COMPILER FLAGS...]
set -euo pipefail
build=$1 source=$2
shift 2
flags="$*"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
mkdir "$work/myengine"
cp "$source"/engines/spark/*.cpp "$work/myengine/"
cd "$work/myengine"
sed -n "/^cat >CMakeLists.txt <<'END'\$/,/^END\$/p" "$source/docs/writing-an-engine.md" |
    sed '1d;$d' >CMakeLists.txt
[[ -s CMakeLists.txt ]] || { echo "the page has no CMakeLists.txt"; exit 1; }
if ! cmake -G Ninja -B build -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$flags -Wall -Wextra -Werror" >log 2>&1 ||
    ! cmake --build build >>log 2>&1; then
    cat log
    exit 1
fi
LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name libkilnx.so)") build/spark-check build/libspark.so
