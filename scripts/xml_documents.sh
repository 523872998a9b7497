#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Unpacks the XML documents of some packages (texts in DocBook, drawings, tables of codes
# and file types) into a folder of the build tree, for the tests that read and write them.
#
#   scripts/xml_documents.sh [FOLDER]        default: build/xml-documents
set -eu

top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/scripts/say.sh"
. "$top/scripts/unpack.sh"

unpack_begin "${1:-$top/build/xml-documents}" "XML documents" \
    "docbook-xsl adwaita-icon-theme iso-codes shared-mime-info"

for deb in "$fresh/debs"/*.deb; do
    # .xml and .svg; tar wants each pattern to match something.
    dpkg --fsys-tarfile "$deb" | tar -x -C "$fresh" --wildcards '*.[xs][mv][lg]'
done
unpack_end
