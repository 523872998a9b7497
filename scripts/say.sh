# SPDX-License-Identifier: MIT
#
# Sourced by the scripts: how they talk.

# One line of progress.
say() {
    printf '==> %s\n' "$*"
}

# The end, with the reason.
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# Runs a command and keeps its output in a log file, shown only on failure.
quietly() {
    quietly_log=$1
    shift
    mkdir -p "$(dirname "$quietly_log")"
    if ! "$@" >"$quietly_log" 2>&1 </dev/null; then
        cat "$quietly_log" >&2
        return 1
    fi
}
