#!/bin/sh
# Unpacks Debian's npm client into a folder, without installing anything: unpack_npm.sh FOLDER
#
# Run it as `NODE_PATH=FOLDER/usr/share/nodejs node FOLDER/usr/share/nodejs/npm/bin/npm-cli.js`. Debian's package depends
# on hundreds of others; these are the ones that `npm pack` loads.
set -eu
folder=$1
packages=$(sed 's/[^ ]*/node-&/g' <<END
abbrev agent-base ansi-regex aproba are-we-there-yet balanced-match brace-expansion builtins cacache chalk chownr
ci-info clone columnify console-control-strings css-loader css-selector-tokenizer debug defaults delegates depd
encoding err-code escape-string-regexp fancy-log fs.realpath function-bind gauge glob got graceful-fs gyp has-flag
has-unicode hosted-git-info https-proxy-agent iconv-lite imurmurhash indent-string inflight inherits ini ip isexe
json-parse-better-errors jsonparse lru-cache minimatch minipass mkdirp ms negotiator nopt normalize-package-data
npm-bundled npm-package-arg npmlog once p-map promise-inflight promise-retry read-package-json readable-stream resolve
retry rimraf safe-buffer semver set-blocking signal-exit slice-ansi spdx-correct spdx-exceptions
spdx-expression-parse spdx-license-ids ssri string-width strip-ansi supports-color tar unique-filename util-deprecate
validate-npm-package-license validate-npm-package-name wcwidth.js which wide-align wrappy write-file-atomic yallist
END
)

private=$(mktemp -d)
trap 'rm -rf "$private"' EXIT
# shellcheck disable=SC2086
(cd "$private" && apt-get -qq -o APT::Sandbox::User=root download npm $packages)
for package in "$private"/*.deb; do
    dpkg-deb -x "$package" "$folder"
done
