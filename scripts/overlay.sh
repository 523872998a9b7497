#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Unpacks the 32-bit libraries that the i386 build links into an overlay folder
# of the build tree.  The system's own package state stays untouched: nothing is
# installed, and no privilege is needed.
#
#   scripts/overlay.sh [FOLDER]        default: build/overlay-i386
#
# Does nothing when the folder already holds the packages listed below.  The
# folder appears, or is replaced, only when everything has been unpacked.
set -eu

top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/scripts/say.sh"
. "$top/scripts/private_apt.sh"
overlay=${1:-$top/build/overlay-i386}
private_apt_state=$overlay.apt

packages="libexpat1 libexpat1-dev libsqlite3-0 libsqlite3-dev sqlite3 libreadline8 zlib1g libgtest-dev
libbenchmark-dev libbenchmark1debian gnucobol3 libcob4 libcob4-dev libdb5.3 libgmp10
libgmp-dev libncursesw6 libtinfo6 libxml2 libicu72 liblzma5"

stamp=packages.stamp
is_complete() {
    [ -f "$overlay/$stamp" ] && [ "$(cat "$overlay/$stamp")" = "$packages" ]
}
if is_complete; then
    exit 0
fi

mkdir -p "$(dirname "$overlay")"
# Of two runs at once the second waits, and then finds the work done.
exec 9>"$overlay.lock"
flock 9
if is_complete; then
    exit 0
fi

say "unpacking the 32-bit libraries into $overlay"
fresh=$overlay.part
rm -rf "$fresh"
trap 'rm -rf "$fresh"' EXIT
trap 'exit 1' HUP INT TERM
debs=$fresh/debs
mkdir -p "$debs"

private_apt_update
# shellcheck disable=SC2086
(cd "$debs" && private_apt download $packages) || die "the 32-bit packages could not be downloaded (see above)"
for deb in "$debs"/*.deb; do
    dpkg -x "$deb" "$fresh"
done
rm -rf "$debs" "$private_apt_state/cache"

# An absolute symbolic link points out of the overlay; left dangling, the linker
# would take the static library without a word.
find "$fresh" -type l | while read -r link; do
    target=$(readlink "$link")
    case $target in
    /*) if [ -e "$fresh$target" ]; then ln -sfr "$fresh$target" "$link"; fi ;;
    esac
done

printf '%s' "$packages" >"$fresh/$stamp"
rm -rf "$overlay.old"
if [ -e "$overlay" ]; then
    mv "$overlay" "$overlay.old"
fi
mv "$fresh" "$overlay"
rm -rf "$overlay.old"
