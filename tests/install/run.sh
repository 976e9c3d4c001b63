#!/usr/bin/env bash
# Installs everything into a temporary prefix, builds a small outside program against it in both ways
# that users know, and runs both builds. Then it builds a host and an engine there, and types into
# the host and into the installed Studio with this engine.   run.sh BUILD_DIR SOURCE_DIR [COMPILER FLAGS...]
set -euo pipefail
build=$1 source=$2 here=$2/tests/install/outside
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

# The umbrella header must bring every public header along.
headers=$work/prefix/include
missing=$(cd "$headers" && find kilnx -name '*.h' ! -path kilnx/kilnx.h | sort | while read -r header; do
    grep -q "<$header>" kilnx/kilnx.h || echo "$header"
done)
[[ -z $missing ]] || { echo "kilnx.h lacks: $missing"; exit 1; }

# The host is the one of the page, with the parts of its own that the page adds, as they stand there.
block() {
    awk -v wanted="$1" '/^```/ { inside = /^```cpp/; number += inside; next } inside && number == wanted' \
        "$source/docs/embedding.md"
}
own='addNotes(window, host); addFiles(window, host);'
{ block 3; block 2; block 1 | sed "s/host.makeCodeEditors();/& $own/"; } >"$work/host.cpp"
grep -qF "$own" "$work/host.cpp"
cmake -G Ninja -S "$here" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$flags" \
    -DHOST="$work/host.cpp" -DSPARK="$source/engines/spark/spark.cpp" >/dev/null
cmake --build "$work/cmake" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/cmake/outside"

export PKG_CONFIG_PATH=$library/pkgconfig
# shellcheck disable=SC2046,SC2086
g++ -std=c++17 -fPIC $flags "$here/main.cpp" -o "$work/outside" $(pkg-config --cflags --libs kilnx)
"$work/outside"

# type_into CLASS FILE PROGRAM [ARGUMENTS...]
# Starts a program, types a line into the window of that class, saves it by Ctrl+S, and looks for
# the line in FILE.
type_into() {
    local class=$1 file=$2
    shift 2
    "$@" &
    local program=$! window
    window=$(timeout 60 xdotool search --sync --onlyvisible --class "$class" | head -1) || true
    [[ -n $window ]] || { echo "no window of $1"; kill $program; return 1; }
    for _ in $(seq 50); do
        xdotool windowfocus "$window" key ctrl+Home type '# typed from outside '
        xdotool key ctrl+s
        sleep 0.2
        ! grep -q '# typed from outside' "$file" || break
    done
    kill $program
    wait $program || true
    grep -q '# typed from outside' "$file" || { echo "$1 did not write $file"; return 1; }
}

# The programs find their libraries by themselves, and leave the user's own settings alone.
unset LD_LIBRARY_PATH
export HOME=$work/home XDG_CONFIG_HOME=$work/home/config XDG_DATA_HOME=$work/home/data
cp -r "$source/engines/spark/sample" "$work/first"
cp -r "$source/engines/spark/sample" "$work/second"
cp -r "$source/engines/spark/sample" "$work/third"
for share in applications/kiln-studio.desktop metainfo/org.kilnx.Studio.metainfo.xml \
    man/man1/kiln-studio.1 icons/hicolor/scalable/apps/kiln-studio.svg; do
    [[ -s $work/prefix/share/$share ]] || { echo "share/$share was not installed"; exit 1; }
done
studio=$work/prefix/bin/kiln-studio
type_into host "$work/first/bosses.tune" \
    "$work/cmake/host" "$work/cmake/libspark.so" "$work/first" "$work/first/bosses.tune"
type_into kiln-studio "$work/second/arcade.spark" "$studio" "$work/second"
rm "$library/kilnx/engines/libspark.so"
type_into kiln-studio "$work/third/arcade.spark" \
    "$studio" --engine "$work/cmake/libspark.so" "$work/third"
