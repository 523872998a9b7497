#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Unpacks the 32-bit libraries that the i386 build links into an overlay folder of the
# build tree.  The system's own package state stays untouched.
#
#   scripts/overlay.sh [FOLDER]        default: build/overlay-i386
set -eu

top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/scripts/say.sh"
. "$top/scripts/unpack.sh"

unpack_begin "${1:-$top/build/overlay-i386}" "the 32-bit libraries" \
    "libexpat1 libexpat1-dev libsqlite3-0 libsqlite3-dev sqlite3 libreadline8 zlib1g libgtest-dev
libbenchmark-dev libbenchmark1debian gnucobol3 libcob4 libcob4-dev libdb5.3 libgmp10
libgmp-dev libncursesw6 libtinfo6 libxml2 libicu72 liblzma5"

for deb in "$fresh/debs"/*.deb; do
    dpkg -x "$deb" "$fresh"
done

# An absolute symbolic link points out of the overlay; left dangling, the linker
# would take the static library without a word.
find "$fresh" -type l | while read -r link; do
    target=$(readlink "$link")
    case $target in
    /*) if [ -e "$fresh$target" ]; then ln -sfr "$fresh$target" "$link"; fi ;;
    esac
done
unpack_end
