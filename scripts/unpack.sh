# SPDX-License-Identifier: MIT
# shellcheck shell=sh
#
# Sourced, after say.sh: packages unpacked into a folder of the build tree, once.  Nothing
# is installed and no privilege is needed: apt-get works on lists, status and cache of its
# own, for i386 and for what suits any machine.
#
#   unpack_begin FOLDER WHAT PACKAGES    Ends the script when the folder holds these
#                                        packages; else downloads them to $fresh/debs.
#   unpack_end                           What is in $fresh becomes the folder: it appears,
#                                        or is replaced, only when all is there.

unpack_begin() {
    unpack_folder=$1
    unpack_packages=$3
    unpack_is_done && exit 0
    mkdir -p "$(dirname "$unpack_folder")"
    # Of two runs at once the second waits, and then finds the work done.
    exec 9>"$unpack_folder.lock"
    flock 9
    unpack_is_done && exit 0

    say "unpacking $2 into $unpack_folder"
    fresh=$unpack_folder.part
    rm -rf "$fresh"
    trap 'rm -rf "$fresh"' EXIT
    trap 'exit 1' HUP INT TERM
    mkdir -p "$fresh/debs"

    # The lists stay between runs: they are what a failing update falls back on.
    unpack_state=$(dirname "$unpack_folder")/unpack.apt
    mkdir -p "$unpack_state/lists/partial" "$unpack_state/cache/archives/partial"
    : >"$unpack_state/status"
    unpack_apt update ||
        say "apt-get update failed; going on with the package lists that are there"
    # shellcheck disable=SC2086
    (cd "$fresh/debs" && unpack_apt download $unpack_packages) ||
        die "packages could not be downloaded: $2 (see above)"
}

unpack_end() {
    rm -rf "$fresh/debs" "$unpack_state/cache"
    printf '%s' "$unpack_packages" >"$fresh/$unpack_stamp"
    rm -rf "$unpack_folder.old"
    if [ -e "$unpack_folder" ]; then
        mv "$unpack_folder" "$unpack_folder.old"
    fi
    mv "$fresh" "$unpack_folder"
    rm -rf "$unpack_folder.old"
}

unpack_stamp=packages.stamp
unpack_is_done() {
    [ -f "$unpack_folder/$unpack_stamp" ] &&
        [ "$(cat "$unpack_folder/$unpack_stamp")" = "$unpack_packages" ]
}

unpack_apt() {
    apt-get -qq -o APT::Architecture=i386 -o APT::Architectures::=i386 \
        -o Dir::State="$unpack_state" -o Dir::State::status="$unpack_state/status" \
        -o Dir::State::lists="$unpack_state/lists" -o Dir::Cache="$unpack_state/cache" \
        -o APT::Sandbox::User=root "$@"
}
