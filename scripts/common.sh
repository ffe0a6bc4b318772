# shellcheck shell=sh
# What the shell scripts in this folder share. Each of them begins with
#
#   . "$(dirname "$0")/common.sh"
#
# which answers --help. The comment at the top of a script is its usage.

script=${0##*/}
root=$(cd "$(dirname "$0")/.." && pwd)

usage() {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$root/scripts/$script"
}

say() {
    echo "$script: $*" >&2
}

fail() {
    say "$@"
    exit 1
}

# For wrong arguments, before anything is done.
refuse() {
    say "$@"
    usage >&2
    exit 2
}

# The presets of CMakeUserPresets.json are welcome too.
expect_preset() {
    if [ "$1" = windows ] ||
        ! grep -qsF "\"configurePreset\": \"$1\"" "$root/CMakePresets.json" "$root/CMakeUserPresets.json"; then
        refuse "there is no preset '$1' for this machine"
    fi
}

# From here on, a script that fails says so in its last line.
announce_failure() {
    trap '[ $? -eq 0 ] || say "failed"' EXIT
}

if [ "${1:-}" = --help ]; then
    usage
    exit 0
fi
