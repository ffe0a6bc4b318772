#!/bin/sh
# Unpacks Debian's quill-dev into a folder, without installing anything.
#
#   fetch_quill.sh FOLDER
#
# The package is in newer suites than the machine's own. They are read through an apt configuration private to
# this run, from the mirror that the machine's apt already uses, and checked against Debian's archive keys.
set -eu
folder=$1
keyring=/usr/share/keyrings/debian-archive-keyring.gpg

# shellcheck disable=SC2016
mirror=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT) $(CREATED_BY)' |
    awk '$2 !~ /-(updates|security|backports)$/ && $3 == "main" && $4 == "Packages" { print $1; exit }')
if [ -z "$mirror" ]; then
    echo "fetch_quill: apt has no package index yet; run 'apt-get update' first" >&2
    exit 1
fi

private=$(mktemp -d)
trap 'rm -rf "$private"' EXIT
chmod 755 "$private"
mkdir -p "$private/lists/partial" "$private/cache/archives/partial"

for suite in testing unstable; do
    echo "deb [signed-by=$keyring] $mirror $suite main" >"$private/sources.list"
    apt() {
        command=$1
        shift
        "apt-$command" -qq \
            -o Dir::Etc::sourcelist="$private/sources.list" -o Dir::Etc::sourceparts=- \
            -o Dir::State::lists="$private/lists" -o Dir::State::status=/dev/null \
            -o Dir::Cache="$private/cache" -o APT::Sandbox::User=root \
            -o Acquire::IndexTargets::deb::DEP-11::DefaultEnabled=false "$@"
    }
    apt get update
    if [ -n "$(apt cache show quill-dev 2>/dev/null)" ]; then
        (cd "$private" && apt get download quill-dev)
        mkdir -p "$folder"
        dpkg-deb -x "$private"/quill-dev_*.deb "$folder"
        exit 0
    fi
done
echo "fetch_quill: no suite of the mirror has quill-dev" >&2
exit 1
