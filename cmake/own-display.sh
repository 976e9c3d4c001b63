#!/usr/bin/env bash
# Runs a command on an X server of its own, which is stopped afterwards by its process id. Windows
# of two programs on one server would take the keyboard from each other. Text has the fonts that
# fonts.conf beside this file names, on any machine.   own-display.sh COMMAND...
set -euo pipefail
work=$(mktemp -d)
server=
cleanup() {
    [[ -n $server ]] && kill "$server" 2>/dev/null && wait "$server" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
server=$!
for _ in $(seq 2400); do # a busy machine may need most of a minute
    if [[ -s $work/display ]] || ! kill -0 "$server" 2>/dev/null; then break; fi
    sleep 0.05
done
[[ -s $work/display ]] || { echo "own-display: Xvfb did not start" >&2; exit 1; }

mkdir -m 700 "$work/runtime"
env -u WAYLAND_DISPLAY DISPLAY=":$(cat "$work/display")" QT_QPA_PLATFORM=xcb \
    FONTCONFIG_FILE="$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/fonts.conf" \
    XDG_RUNTIME_DIR="$work/runtime" LIBGL_ALWAYS_SOFTWARE=1 \
    ${KILNX_PRELOAD:+LD_PRELOAD="$KILNX_PRELOAD"} "$@"
