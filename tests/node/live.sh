#!/bin/sh
# SPDX-License-Identifier: MIT
# The live page in a real browser: it reads the stream, fills its panels, and no script fails. Exit code 77 = cannot be
# tried here.
set -u
build=${1:?usage: live.sh BUILD_DIR}
page=$(cd "$(dirname "$0")/../../world/view/page" && pwd) || exit 1
! command -v node >/dev/null 2>&1 || node --check "$page/live.js" || exit 1
if ! command -v chromium >/dev/null 2>&1; then
    echo "skipped: chromium is not installed"
    exit 77
fi
work=$(mktemp -d)
"$build/world/kestrelune-simulator" --live 0 --live-place TEST --minutes 3 >"$work/simulator.txt" &
simulator=$!
trap 'kill $simulator 2>/dev/null; wait $simulator 2>/dev/null; rm -rf "$work"' EXIT
tries=0
until address=$(sed -n 's/^live page at //p' "$work/simulator.txt") && [ -n "$address" ]; do
    tries=$((tries + 1))
    [ $tries -lt 300 ] || { echo "the simulator did not come up"; exit 1; }
    sleep 0.1
done
# In real time: virtual time would stand still while the stream is open.
timeout 60 chromium --headless --no-sandbox --disable-gpu --user-data-dir="$work/profile" --enable-logging=stderr \
    --timeout=4000 --dump-dom "$address" >"$work/page.html" 2>"$work/log.txt"
for wanted in '<p id="link" role="status">live, ' '<dt>in the air</dt><dd>0</dd>' '<span id="place">TEST</span>'; do
    grep -qF "$wanted" "$work/page.html" || {
        echo "the page has no $wanted"
        grep -F CONSOLE "$work/log.txt"
        grep -F 'id="link"' "$work/page.html"
        exit 1
    }
done
! grep -F 'CONSOLE' "$work/log.txt" | grep -iF -e error -e uncaught
