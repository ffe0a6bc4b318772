# shellcheck shell=sh
# What the scripts that issue certificates and sign files share. They source it instead of common.sh.
. "$(dirname "$0")/common.sh"

# expect_paths PATH...: refuses what other programs would take for an option.
expect_paths() {
    for path in "$@"; do
        case $path in
        -*) refuse "'$path' looks like an option; a file of that name is './$path'" ;;
        '') refuse "a name is empty" ;;
        esac
    done
}

# expect_absent FILE...: fails rather than overwrite a file.
expect_absent() {
    for target in "$@"; do
        [ ! -e "$target" ] || fail "$target exists already"
    done
}

# expect_readable FILE...
expect_readable() {
    for source in "$@"; do
        [ -r "$source" ] || fail "$source cannot be read"
    done
}

# expect_not_input OUTPUT INPUT...: fails if the output is one of the inputs, however it is spelt or linked.
expect_not_input() {
    output=$1
    shift
    [ -e "$output" ] || return 0
    for input in "$@"; do
        if [ -e "$input" ] && [ "$(stat -L -c %d:%i -- "$input")" = "$(stat -L -c %d:%i "$output")" ]; then
            fail "$output would overwrite $input"
        fi
    done
}

# make_private_folder FOLDER: creates the folder $private in FOLDER. It is removed at the end, also when the script is
# interrupted: private keys are in it.
make_private_folder() {
    private=
    trap remove_private_folder EXIT
    trap 'exit 129' HUP
    trap 'exit 130' INT
    trap 'exit 143' TERM
    private=$(mktemp -d "$1/.$script.XXXXXX")
}

remove_private_folder() {
    status=$?
    ignore_signals
    rm -rf "$private"
    [ "$status" -eq 0 ] || say "failed"
}

ignore_signals() {
    trap '' HUP INT TERM
}

# quietly COMMAND...: shows the command's output only if it fails.
quietly() {
    "$@" >"$private/log" 2>&1 || {
        cat "$private/log" >&2
        exit 1
    }
}

# escape NAME: a part of a distinguished name; OpenSSL separates the parts by these characters.
escape() {
    printf %s "$1" | sed 's/[\\/+]/\\&/g'
}
