#!/bin/sh
# SPDX-License-Identifier: MIT
# Installs the Debian packages that the build and its checks need. Quiet, and without a network, when all of them are there.
# "setup.sh run": without those that only make and judge packages of our own.
set -eu

packages="g++ cmake ninja-build ccache libpugixml-dev nlohmann-json3-dev libcurl4-openssl-dev libzip-dev libfmt-dev \
libcli11-dev libcpp-httplib-dev zlib1g-dev libssl-dev libgtest-dev libbenchmark-dev clang-format-14 clang-tidy-14"

if ! command -v dpkg-query >/dev/null 2>&1; then
    echo "setup: this is no Debian; these packages, or what they are called here, are needed: $packages" >&2
    exit 0
fi

# The window, and a display to test it on. Without them all else is built: the terminal stands in for the window.
window_packages="libwxgtk3.2-dev xvfb openbox xdotool"
# What makes and judges the Debian package. Without them the manual pages are left out, and the package is not tried.
packaging_packages="help2man dpkg-dev file lintian"
[ "${1:-}" != run ] || packaging_packages=""

absent() {
    for package in "$@"; do
        case "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)" in
        "install ok installed") ;;
        *) printf ' %s' "$package" ;;
        esac
    done
}
# shellcheck disable=SC2086
missing="$(absent $packages)"
# shellcheck disable=SC2086
missing_window="$(absent $window_packages)"
# shellcheck disable=SC2086
missing_packaging="$(absent $packaging_packages)"
[ -n "$missing$missing_window$missing_packaging" ] || exit 0

root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
        [ -n "$missing" ] || exit 0
        echo "setup: not root and no sudo; please install:$missing" >&2
        exit 1
    fi
    root="sudo"
fi

echo "setup: installing$missing$missing_window$missing_packaging"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
# The package lists of a fresh machine may be empty or old, so one failure is answered with new lists.
install() {
    $root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "$@" >"$log" 2>&1 ||
        { $root apt-get update -q >>"$log" 2>&1 &&
            $root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "$@" >"$log" 2>&1; }
}
# shellcheck disable=SC2086
if [ -n "$missing" ] && ! install $missing; then
    tail -n 20 "$log" >&2
    echo "setup: could not install$missing" >&2
    exit 1
fi
# shellcheck disable=SC2086
if [ -n "$missing_window" ] && ! install $missing_window; then
    echo "setup: could not install$missing_window: the window is not built, or not tested" >&2
fi
# shellcheck disable=SC2086
if [ -n "$missing_packaging" ] && ! install $missing_packaging; then
    echo "setup: could not install$missing_packaging: the Debian package is not tried" >&2
fi
