#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs interop.mjs against BUILD_DIR/world/kestrelune-simulator. Exit code 77 = cannot be tried here.
set -u
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?usage: run.sh BUILD_DIR}" && pwd) || exit 1
simulator=$build/world/kestrelune-simulator

for tool in node npm; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done
if [ ! -x "$simulator" ]; then
    echo "no $simulator: build kestrelune-simulator first" >&2
    exit 1
fi

# The packages go beside the build, so that the sources stay as they are.
place=$build/node-interop
mkdir -p "$place" || exit 1
cp "$here/package.json" "$here/package-lock.json" "$here/.npmrc" "$here/interop.mjs" "$place" || exit 1
cd "$place" || exit 1
if ! cmp -s package-lock.json node_modules/.installed-lock; then
    if ! npm ci >npm.log 2>&1; then
        cat npm.log >&2
        # A registry out of reach is a matter of the place; anything else is a fault of ours.
        if grep -Eq 'EAI_AGAIN|ENOTFOUND|ECONNREFUSED|ECONNRESET|ETIMEDOUT|ENETUNREACH|EHOSTUNREACH|ERR_SOCKET_TIMEOUT|E40[137]|E50[0-9]|CERT' npm.log; then
            echo "skipped: the package registry cannot be reached"
            exit 77
        fi
        exit 1
    fi
    cp package-lock.json node_modules/.installed-lock || exit 1
fi
exec node interop.mjs "$simulator"
