#!/usr/bin/env bash
# Puts the headers of sol2 into .deps/sol2 when the system has none: Debian 12 has no package of
# them, later releases do. Takes the package from the same mirror that the machine uses, checked
# against the system's archive keyring, through an apt directory of its own, so that the machine's
# sources and installed packages stay as they are. Does nothing when the headers are there.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

target=$PWD/.deps/sol2
suite=testing
keyring=/usr/share/keyrings/debian-archive-keyring.gpg

[[ -e /usr/include/sol/sol.hpp || -e $target/usr/include/sol/sol.hpp ]] && exit 0

mirror=$(apt-get indextargets --format '$(REPO_URI) $(SUITE) $(COMPONENT)' 'Created-By: Packages' |
    awk '$2 !~ /security/ && $3 == "main" { print $1; exit }')
[[ -n $mirror ]] || { echo "fetch-sol2: no Debian mirror in apt's sources" >&2; exit 1; }

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root"/{etc/apt.conf.d,etc/preferences.d,etc/sources.list.d,lists/partial,cache/archives/partial,package}
echo "deb [signed-by=$keyring] $mirror $suite main" >"$root/etc/sources.list"
cp /var/lib/dpkg/status "$root/status"
options=(
    -o Dir::Etc="$root/etc"
    -o Dir::State="$root"
    -o Dir::State::Lists="$root/lists"
    -o Dir::State::Status="$root/status"
    -o Dir::Cache="$root/cache"
    -o Acquire::Languages=none
    -o Acquire::IndexTargets::deb::Contents-deb::DefaultEnabled=false
    -o APT::Sandbox::User=
)
apt-get "${options[@]}" -qq update
(cd "$root/package" && apt-get "${options[@]}" -qq download sol2-dev)
# Unpacked beside the target and moved, so that a cut run leaves no half of it.
dpkg -x "$root"/package/sol2-dev_*.deb "$root/unpacked"
mkdir -p "$(dirname "$target")"
rm -rf "$target"
mv "$root/unpacked" "$target"
