#!/bin/sh
# Installs what building and testing need and is missing: Debian packages, the picture that kxorigin
# publishes, and the map page that kxtile serve shows. Needs root or sudo only where something is missing. Quick the second time.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1; then
        sudo "$@"
    else
        echo "setup: '$*' needs root: run as root, or install sudo" >&2
        exit 1
    fi
}

missing_packages() {
    grep -v '^#' "$root/tools/packages.txt" | while read -r package; do
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
        # A package of two architectures answers twice.
        case $state in installed*) ;; *) echo "$package" ;; esac
    done
    # Any npm serves; Debian's is taken only where there is none.
    command -v npm >/dev/null 2>&1 || echo npm
}

command -v dpkg-query >/dev/null 2>&1 || {
    echo "setup: this is no Debian or derivative; install the packages of tools/packages.txt" >&2
    exit 1
}
missing=$(missing_packages | tr '\n' ' ')
if [ -n "$missing" ]; then
    echo "setup: installing $missing"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    # shellcheck disable=SC2086 # a list of words on purpose
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
fi
"$root/cmake/fetch_assets.sh" "$root/build/assets"
"$root/cmake/build_page.sh" "$root/build/assets"
