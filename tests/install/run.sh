#!/usr/bin/env bash
# Installs the library into a temporary prefix, builds a small outside program against it in both
# ways that users know, and runs both builds.   run.sh BUILD_DIR SOURCE_DIR [COMPILER FLAGS...]
set -euo pipefail
build=$1 here=$2/tests/install/outside
shift 2
flags="$*"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
library=$(dirname "$(find "$work/prefix" -name 'libkilnx.so')")
export LD_LIBRARY_PATH=$library

if find "$work/prefix" -name '*_p.h' | grep .; then
    echo "private headers were installed"
    exit 1
fi

# The umbrella header must bring every public header along, but for the one that needs sol2.
headers=$work/prefix/include
missing=$(cd "$headers" && find kilnx -name '*.h' ! -path kilnx/kilnx.h ! -path kilnx/project/script.h | sort | while read -r header; do
    grep -q "<$header>" kilnx/kilnx.h || echo "$header"
done)
[[ -z $missing ]] || { echo "kilnx.h lacks: $missing"; exit 1; }

cmake -G Ninja -S "$here" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/outside"

export PKG_CONFIG_PATH=$library/pkgconfig
# shellcheck disable=SC2046,SC2086
g++ -std=c++17 -fPIC $flags "$here/main.cpp" -o "$work/outside" $(pkg-config --cflags --libs kilnx)
"$work/outside"
