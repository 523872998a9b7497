#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Unpacks the XML documents of some packages (texts in DocBook, drawings, tables of codes
# and file types) into a folder of the build tree, for the tests that read and write them.
# Nothing is installed, and no privilege is needed.
#
#   scripts/xml_documents.sh [FOLDER]        default: build/xml-documents
#
# Does nothing when the folder already holds those of the packages listed below.  The
# folder appears, or is replaced, only when everything has been unpacked.
set -eu

top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/scripts/say.sh"
. "$top/scripts/private_apt.sh"
documents=${1:-$top/build/xml-documents}
private_apt_state=$top/build/overlay-i386.apt

packages="docbook-xsl adwaita-icon-theme iso-codes shared-mime-info"

stamp=packages.stamp
is_complete() {
    [ -f "$documents/$stamp" ] && [ "$(cat "$documents/$stamp")" = "$packages" ]
}
if is_complete; then
    exit 0
fi

mkdir -p "$(dirname "$documents")"
# Of two runs at once the second waits, and then finds the work done.
exec 9>"$documents.lock"
flock 9
if is_complete; then
    exit 0
fi

say "unpacking XML documents into $documents"
fresh=$documents.part
rm -rf "$fresh"
trap 'rm -rf "$fresh"' EXIT
trap 'exit 1' HUP INT TERM
mkdir -p "$fresh/debs"
private_apt_update
# shellcheck disable=SC2086
(cd "$fresh/debs" && private_apt download $packages) ||
    die "the packages with XML documents could not be downloaded (see above)"
for deb in "$fresh/debs"/*.deb; do
    # .xml and .svg; tar wants each pattern to match something.
    dpkg --fsys-tarfile "$deb" | tar -x -C "$fresh" --wildcards '*.[xs][mv][lg]'
done
rm -rf "$fresh/debs" "$private_apt_state/cache"

printf '%s' "$packages" >"$fresh/$stamp"
rm -rf "$documents"
mv "$fresh" "$documents"
