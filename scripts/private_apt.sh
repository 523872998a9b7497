# SPDX-License-Identifier: MIT
# shellcheck shell=sh
#
# Sourced: apt-get that installs nothing and needs no privilege.  It works on lists, status
# and cache of its own, for i386 and for what suits any machine; the lists stay between
# runs, they are what a failing update falls back on.
#
#   private_apt_state=FOLDER        set by who sources this
#   private_apt update | download PACKAGE...

private_apt() {
    mkdir -p "$private_apt_state/lists/partial" "$private_apt_state/cache/archives/partial"
    : >"$private_apt_state/status"
    apt-get -qq -o APT::Architecture=i386 -o APT::Architectures::=i386 \
        -o Dir::State="$private_apt_state" -o Dir::State::status="$private_apt_state/status" \
        -o Dir::State::lists="$private_apt_state/lists" -o Dir::Cache="$private_apt_state/cache" \
        -o APT::Sandbox::User=root "$@"
}

private_apt_update() {
    private_apt update || say "apt-get update failed; going on with the package lists that are there"
}
