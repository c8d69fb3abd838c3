#!/bin/sh
# Checks the program of the replay's page: each file for itself, and all of them together as map.html puts them into one
# function, where no name may come twice. Exit code 77 = cannot be tried here.
set -u
page=$(cd "$(dirname "$0")/../../tools/replay/page" && pwd) || exit 1
together=${1:?usage: page.sh BUILD_DIR}/map_page_together.js

if ! command -v node >/dev/null 2>&1; then
    echo "skipped: node is not installed"
    exit 77
fi
parts=$(sed -n 's/^@\(.*\.js\)@$/\1/p' "$page/map.html")
for part in $parts; do
    node --check "$page/$part" || exit 1
done
for file in "$page"/*.js; do
    case " $(echo $parts) " in
    *" $(basename "$file") "*) ;;
    *) echo "map.html does not take in $file" && exit 1 ;;
    esac
done
{
    echo "'use strict'; (() => {"
    (cd "$page" && cat $parts)
    echo '})();'
} >"$together"
exec node --check "$together"
