#!/bin/sh
# SPDX-License-Identifier: MIT
# The live page in a real browser: it reads the stream, fills its panels, and no script fails. Exit code 77 = cannot be
# tried here.
set -u
build=${1:?usage: live.sh BUILD_DIR}
here=$(cd "$(dirname "$0")" && pwd) || exit 1
page=$here/../../world/view/page
for program in node chromium; do
    command -v $program >/dev/null 2>&1 || { echo "skipped: $program is not installed"; exit 77; }
done
node --check "$page/live.js" || exit 1
work=$(mktemp -d)
"$build/world/kestrelune-simulator" --live 0 --live-place TEST --minutes 3 >"$work/simulator.txt" &
simulator=$!
trap 'kill $simulator 2>/dev/null; wait $simulator 2>/dev/null; rm -rf "$work"' EXIT
tries=0
until address=$(sed -n 's/^live page at //p' "$work/simulator.txt" 2>/dev/null) && [ -n "$address" ]; do
    tries=$((tries + 1))
    [ $tries -lt 300 ] && kill -0 $simulator 2>/dev/null || { echo "the simulator did not come up"; exit 1; }
    sleep 0.1
done
timeout 90 node "$here/watch_page.mjs" "$address" "$work/profile" \
    "document.getElementById('link').textContent.startsWith('live, ')" \
    "[...document.querySelectorAll('dt')].some(t => t.textContent === 'in the air' && t.nextElementSibling.textContent === '0')" \
    "document.getElementById('place').textContent === 'TEST'"
