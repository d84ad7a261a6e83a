#!/bin/sh
# SPDX-License-Identifier: MIT
# Fetches the pictures that the build embeds into a folder: earth-blue-marble.jpg, NASA's Blue
# Marble (public domain) as the npm package three-globe (MIT) carries it.
# Usage: fetch_assets.sh FOLDER        Quick when the picture is already there.
set -eu

package=three-globe@2.45.2
member=package/example/img/earth-blue-marble.jpg
sum=228deba2e4b600146bdcb6cfa359b8ead6aacc2b1c13550a29cd82824cfa1c01

fail() {
    echo "fetch_assets.sh: $*" >&2
    exit 1
}

is_right() {
    echo "$sum  $1" | sha256sum --check --status 2>/dev/null
}

[ $# -eq 1 ] || fail "usage: fetch_assets.sh FOLDER"
target=$1/earth-blue-marble.jpg
if [ -f "$target" ] && is_right "$target"; then
    exit 0
fi

command -v npm >/dev/null || fail "npm is missing; install it (Debian: apt-get install npm)"
mkdir -p "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack --loglevel=error "$package" >/dev/null) ||
    fail "npm could not fetch $package; look at its message above"
tar -xzf "$work"/three-globe-*.tgz -C "$work" "$member" || fail "$package does not hold $member"
is_right "$work/$member" || fail "$member of $package is not the picture that was expected"

# Renamed into place, so that a build beside this never sees half a picture.
cp "$work/$member" "$target.new"
mv "$target.new" "$target"
