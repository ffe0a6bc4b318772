#!/bin/sh
# Unpacks the sources of minizip-ng 3.0.9 into a folder: fetch_minizip.sh FOLDER
#
# Debian has no package of it for the cross compiler; a package of the npm registry contains its complete sources.
set -eu
folder=$1
package=react-native-code-push@9.0.1
sha512=+7BhJbsx0c9md2zCOPsEv44eKQsvDM7J5nVYFsDUHVzBx8cvojBSPfjfdqZq5op5YmawH7mpbIPMYUj9bF9SLw==

private=$(mktemp -d)
trap 'rm -rf "$private"' EXIT
npm=npm
if ! command -v npm >/dev/null; then
    "$(dirname "$0")/unpack_npm.sh" "$private/npm"
    export NODE_PATH="$private/npm/usr/share/nodejs"
    npm="node $NODE_PATH/npm/bin/npm-cli.js"
fi
cd "$private"
$npm pack --loglevel=error "$package" >&2
if [ "$(openssl dgst -sha512 -binary ./*.tgz | base64 -w 0)" != "$sha512" ]; then
    echo "fetch_minizip: $package is not what it was" >&2
    exit 1
fi
mkdir -p "$folder"
tar -x -z -f ./*.tgz -C "$folder" --strip-components=5 package/ios/CodePush/SSZipArchive/minizip
