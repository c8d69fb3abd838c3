#!/bin/sh
# SPDX-License-Identifier: MIT
# Checks the programs of the tools' pages: each file for itself, and all of a page together as it puts them into one
# function, where no name may come twice; then the pages in a browser. Exit code 77 = cannot be tried here.
set -u
here=$(cd "$(dirname "$0")" && pwd) || exit 1
tools=$here/../../tools
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

# In a browser, with what the programs write.
if ! command -v chromium >/dev/null 2>&1; then
    echo "the pages were not opened: chromium is not installed"
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
opens() {
    timeout 90 node "$here/watch_page.mjs" "file://$work/$1" "$work/profile-$1" "$2" "$3" "$4" "$5" || { echo "in $1"; exit 1; }
}
by='document.getElementById'
"$build/tools/kestrelune-replay" --feed turns --data "$tools/../data" --quiet --every 100 --out "$work" >/dev/null || exit 1
opens map.html "document.querySelectorAll('#list li').length === 1" \
    "$by('map').getContext('2d').getImageData(0, 0, $by('map').width, $by('map').height).data.some(Boolean)" \
    "$by('worst').click() || $by('worsttext').textContent.startsWith('1 of ') && !$by('detail').hidden" \
    "($by('play').getAttribute('aria-label') === 'Pause' || $by('slider').value === $by('slider').max || $by('play').click(),
        +$by('slider').value > +$by('slider').min)"
cat >"$work/EGLL.xml" <<'END'
<parameters>
<parameter name="airport_name" value="Heathrow"/><parameter name="publisher" value="stock"/>
<parameter name="altitude" value="83"/>
</parameters>
<parkpositions>
<parkpos id="1" latitude="51.4700" longitude="-0.4500" heading="90" radius="36" cargo="false" ramp="false"/>
<parkpos id="2" latitude="51.4710" longitude="-0.4500" heading="90" radius="36" cargo="false" ramp="false">
<opt airl="BAW" type="B744" soft="true" day="1" hh="23,24,25"/>
</parkpos>
</parkpositions>
END
(cd "$work" && "$build/tools/kestrelune-inspect" airport EGLL.xml --html airport.html >/dev/null) || exit 1
opens airport.html "document.querySelectorAll('#map circle').length === 2" \
    "$by('parked').textContent === '1 of 2 stands in use'" \
    "document.querySelector('#map g g').dispatchEvent(new Event('click')) && !$by('detail').textContent.includes('Click')" \
    "[...document.querySelectorAll('#map .who')].some(who => who.textContent === 'BAW B744')"
