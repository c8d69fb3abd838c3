#!/bin/sh
# SPDX-License-Identifier: MIT
# Checks the programs of the tools' pages: each file for itself, and all of a page together as it puts them into one
# function, where no name may come twice. Exit code 77 = cannot be tried here.
set -u
tools=$(cd "$(dirname "$0")/../../tools" && pwd) || exit 1
build=${1:?usage: page.sh BUILD_DIR}

if ! command -v node >/dev/null 2>&1; then
    echo "skipped: node is not installed"
    exit 77
fi
for html in replay/page/map.html inspect/page/airport.html; do
    page=$tools/$(dirname "$html")
    parts=$(sed -n 's/^@\(.*\.js\)@$/\1/p' "$tools/$html")
    for part in $parts; do
        node --check "$page/$part" || exit 1
    done
    for file in "$page"/*.js; do
        case " $(echo $parts) " in
        *" $(basename "$file") "*) ;;
        *) echo "$html does not take in $file" && exit 1 ;;
        esac
    done
    together=$build/$(basename "$html" .html)_page_together.js
    {
        echo "'use strict'; (() => {"
        (cd "$page" && cat $parts)
        echo '})();'
    } >"$together"
    node --check "$together" || exit 1
done
