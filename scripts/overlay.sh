#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Unpacks the 32-bit libraries that the i386 build links into an overlay folder
# of the build tree.  The system's own package state stays untouched: apt-get
# works on private lists, status and cache, and nothing is installed.
#
#   scripts/overlay.sh [FOLDER]        default: build/overlay-i386
#
# Does nothing when the folder already holds the packages listed below.
set -eu

top=$(cd "$(dirname "$0")/.." && pwd)
overlay=${1:-$top/build/overlay-i386}

packages="libexpat1 libexpat1-dev libsqlite3-0 libsqlite3-dev zlib1g libgtest-dev
libbenchmark-dev libbenchmark1debian gnucobol3 libcob4 libcob4-dev libdb5.3 libgmp10
libgmp-dev libncursesw6 libtinfo6 libxml2 libicu72 liblzma5"

stamp=$overlay/packages.stamp
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$packages" ]; then
    exit 0
fi

echo "overlay: unpacking the 32-bit packages into $overlay"
rm -rf "$overlay"
state=$overlay/apt
mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$overlay/debs"
: >"$state/status"

apt() {
    apt-get -qq -o APT::Architecture=i386 -o APT::Architectures::=i386 \
        -o Dir::State="$state" -o Dir::State::status="$state/status" \
        -o Dir::State::lists="$state/lists" -o Dir::Cache="$state/cache" \
        -o APT::Sandbox::User=root "$@"
}

# A failing update is tolerated as long as the lists are there all the same.
apt update || echo "overlay: apt-get update failed; going on with the lists that are there" >&2
# shellcheck disable=SC2086
(cd "$overlay/debs" && apt download $packages)
for deb in "$overlay"/debs/*.deb; do
    dpkg -x "$deb" "$overlay"
done

# An absolute symbolic link points out of the overlay; left dangling, the linker
# would take the static library without a word.
find "$overlay/usr" "$overlay/lib" -type l 2>/dev/null | while read -r link; do
    target=$(readlink "$link")
    case $target in
    /*) if [ -e "$overlay$target" ]; then ln -sfr "$overlay$target" "$link"; fi ;;
    esac
done

rm -rf "$overlay/debs" "$state"
printf '%s' "$packages" >"$stamp"
