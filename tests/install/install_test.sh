#!/bin/sh
# SPDX-License-Identifier: MIT
#
#   install_test.sh BUILD-FOLDER PREFIX
#
# Installs the build into PREFIX, then compiles and runs stranger.c against it,
# once with pkg-config and once with the CMake package.  CC and CFLAGS name the
# compiler and its width, OVERLAY the folder of the 32-bit libraries or nothing.
set -eu

build=$1
prefix=$2
here=$(cd "$(dirname "$0")" && pwd)

fail() {
    echo "install_test: $*" >&2
    exit 1
}

rm -rf "$prefix"
"$CMAKE" --install "$build" --prefix "$prefix" >/dev/null

work=$prefix/there
mkdir -p "$work/src"
for file in lib/libwbfsi2.so.3 lib/libwbhost.so.1 bin/wbfsi include/wbfsi/wbfsi.h \
    include/host/host.h lib/pkgconfig/wbfsi.pc lib/cmake/wbfsi/wbfsi-config.cmake \
    share/man/man1/wbfsi.1 share/wbfsi/sqlite.errmap share/wbfsi/wbfsi-xml.cpy \
    share/wbfsi/wbfsi-xml-records.cpy; do
    [ -e "$prefix/$file" ] || fail "$file is not installed"
done

case "$CFLAGS" in
*-m32*) bits=32 ;;
*) bits=64 ;;
esac
expected="AMOUNT_12 1 $bits bits"

# Where a 32-bit machine has the libraries that ours need, the overlay stands for it.
if [ -n "$OVERLAY" ]; then
    folders=$OVERLAY/lib/i386-linux-gnu:$OVERLAY/usr/lib/i386-linux-gnu
    CFLAGS="$CFLAGS -Wl,-rpath-link,$folders"
    export LD_LIBRARY_PATH="$folders"
fi

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
# shellcheck disable=SC2046,SC2086
$CC $CFLAGS -std=c11 -Wall -Werror "$here/stranger.c" -o "$work/by-pkg-config" \
    $(pkg-config --define-variable=prefix="$prefix" --cflags --libs wbfsi)
got=$(LD_LIBRARY_PATH=$prefix/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} "$work/by-pkg-config")
[ "$got" = "$expected" ] || fail "with pkg-config: '$got' instead of '$expected'"

cp "$here/stranger.c" "$work/src/"
cp "$here/project.cmake.in" "$work/src/CMakeLists.txt"
"$CMAKE" -G Ninja -S "$work/src" -B "$work/build" -DCMAKE_C_COMPILER="$CC" -DCMAKE_C_FLAGS="$CFLAGS" \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
"$CMAKE" --build "$work/build" >/dev/null
got=$("$work/build/stranger")
[ "$got" = "$expected" ] || fail "with the CMake package: '$got' instead of '$expected'"

# The tool finds the libraries beside it, wherever the prefix is moved.
mv "$prefix" "$prefix.moved"
trap 'rm -rf "$prefix.moved"' EXIT
if ! version=$("$prefix.moved/bin/wbfsi" --version); then
    fail "the installed tool does not run"
fi
case $version in
*0.1.0*) ;;
*) fail "the installed tool says it is '$version'" ;;
esac

# And its error map.
printf 'no database' > "$prefix.moved/there/text.db"
printf 'XFD,06,T,T,12\n2,2,1\n0,18,46,44,0\n1,0,2,0\n1\nA\n0\n1,1,1,1\n0,2,16,0,0,0,0,5,A\n' \
    > "$prefix.moved/there/t.xfd"
text=$("$prefix.moved/bin/wbfsi" unload t \
    "$prefix.moved/there/t" --xfd-directory "$prefix.moved/there" --db "sqlite:$prefix.moved/there/text.db" 2>&1) || true
case $text in
*"(SQLite 26, E_BROKEN)"*) ;;
*) fail "without its error map: '$text'" ;;
esac
