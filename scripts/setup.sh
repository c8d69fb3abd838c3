#!/bin/sh
# Installs the Debian packages that the build and its checks need. Quiet, and without a network, when all of them are there.
set -eu

packages="g++ cmake ninja-build ccache libpugixml-dev nlohmann-json3-dev libcurl4-openssl-dev libzip-dev libfmt-dev \
libcli11-dev zlib1g-dev libssl-dev libgtest-dev libbenchmark-dev clang-format-14 clang-tidy-14"

if ! command -v dpkg-query >/dev/null 2>&1; then
    echo "setup: this is no Debian; these packages, or what they are called here, are needed: $packages" >&2
    exit 0
fi

missing=""
for package in $packages; do
    case "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)" in
    "install ok installed") ;;
    *) missing="$missing $package" ;;
    esac
done
[ -n "$missing" ] || exit 0

root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "setup: not root and no sudo; please install:$missing" >&2
        exit 1
    fi
    root="sudo"
fi

echo "setup: installing$missing"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
# The package lists of a fresh machine may be empty or old, so one failure is answered with new lists.
install() {
    # shellcheck disable=SC2086
    $root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing >"$log" 2>&1
}
if ! install; then
    if ! { $root apt-get update -q >>"$log" 2>&1 && install; }; then
        tail -n 20 "$log" >&2
        echo "setup: could not install$missing" >&2
        exit 1
    fi
fi
