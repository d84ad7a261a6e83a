#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the map page that kxtile serve embeds: FOLDER/page/ with index.html, page.js, page.css and
# what they need. The tools stay in FOLDER/page-tools/, where the tests of the page find them.
# Usage: build_page.sh FOLDER        Quick when nothing of the page has changed.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source=$here/../apps/kxtile/serve/page

fail() {
    echo "build_page.sh: $*" >&2
    exit 1
}

# One number for all that goes into the page.
hash_of_inputs() {
    (cd "$source" && find build.mjs package.json package-lock.json .npmrc src -type f |
        LC_ALL=C sort | xargs sha256sum && sha256sum <"$here/build_page.sh") | sha256sum | cut -d' ' -f1
}

[ $# -eq 1 ] || fail "usage: build_page.sh FOLDER"
mkdir -p "$1"
folder=$(cd "$1" && pwd)
inputs=$(hash_of_inputs)
if [ -f "$folder/page.inputs" ] && [ "$(cat "$folder/page.inputs")" = "$inputs" ] &&
    [ -f "$folder/page/index.html" ] && [ -d "$folder/page-tools/node_modules" ]; then
    exit 0
fi

command -v npm >/dev/null || fail "npm is missing; install it (Debian: apt-get install npm)"
tools=$folder/page-tools
mkdir -p "$tools"
# The packages are fetched anew only when others are wanted.
if ! cmp -s "$source/package-lock.json" "$tools/package-lock.json" || [ ! -d "$tools/node_modules" ]; then
    rm -f "$tools/package-lock.json"
    cp "$source/package.json" "$source/.npmrc" "$tools/"
    cp "$source/package-lock.json" "$tools/package-lock.new"
    (cd "$tools" && mv package-lock.new package-lock.json && npm ci --ignore-scripts --loglevel=error >/dev/null) || {
        rm -f "$tools/package-lock.json"
        fail "npm could not fetch the packages of the page; look at its message above"
    }
fi
rm -rf "$tools/src" "$tools/page"
cp -R "$source/src" "$source/build.mjs" "$tools/"
(cd "$tools" && node build.mjs page) || fail "the page does not build; look at the message above"

# Renamed into place, so that a build beside this never sees half a page.
rm -rf "$folder/page.old"
[ ! -d "$folder/page" ] || mv "$folder/page" "$folder/page.old"
mv "$tools/page" "$folder/page"
rm -rf "$folder/page.old"
echo "$inputs" >"$folder/page.inputs"
