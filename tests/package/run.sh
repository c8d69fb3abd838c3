#!/bin/sh
# SPDX-License-Identifier: MIT
# The Debian package and the archive to unpack, made out of a build folder and tried as a user would: looked at by lintian,
# installed into an empty tree, started there, and removed. 77 where dpkg is missing.
set -eu
build="$1"
for tool in dpkg-deb dpkg-shlibdeps file; do
    command -v $tool >/dev/null || { echo "skipped: no $tool here"; exit 77; }
done
[ -d "$build/man" ] || { echo "skipped: built without help2man"; exit 77; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() {
    echo "package: $1"
    [ -z "${2:-}" ] || cat "$2"
    exit 1
}

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1) || fail "cpack failed" "$work/cpack.log"
deb="$(ls "$work"/out/*.deb)"
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error "$deb" >"$work/lintian.log" 2>&1 || fail "lintian finds errors" "$work/lintian.log"
else
    echo "no lintian here, the package was not looked at"
fi

# A tree of its own with a data base of its own: nothing of this machine is touched.
root="$work/root"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
dpkg --root="$root" --force-not-root --force-depends --log="$work/dpkg.log" -i "$deb" >"$work/install.log" 2>&1 ||
    fail "cannot be installed" "$work/install.log"
for file in usr/bin/kestrelune usr/bin/kestrelune-inspect usr/bin/kestrelune-pack usr/share/applications/kestrelune.desktop \
    usr/share/kestrelune/docs/manual.md usr/share/kestrelune/updates/dbase.zip usr/share/man/man1/kestrelune.1.gz; do
    [ -e "$root/$file" ] || fail "holds no $file"
done
! grep -rqI "$(dirname "$build")" "$root/usr" || fail "names the folder that it was built in"

# started FOLDER PROGRAM: what the start says of itself there; no simulator is found, so it is no good start.
started() {
    mkdir -p "$work/home/run" "$1"
    (cd "$1" && env -i PATH="$PATH" HOME="$work/home" XDG_RUNTIME_DIR="$work/home/run" "$2" --check) >"$work/check.log" 2>&1 &&
        fail "says that all is well without a simulator" "$work/check.log"
    for item in "program folder: $3" log settings "reference data" airports; do
        grep -q "^ok      $item" "$work/check.log" || fail "$2 does not start: $item" "$work/check.log"
    done
}
# From the home folder, in which a user may have documents: the program makes a folder of its own.
mkdir -p "$work/home/docs"
started "$work/home" "$root/usr/bin/kestrelune" "$work/home/.local/share/Kestrelune"
# The user's settings in it outlive a second start, and an update.
echo "https://example.invalid/" >"$work/home/.local/share/Kestrelune/input/update_server.txt"
rm "$work/home/.local/share/Kestrelune/installed_content.txt" "$work/home/.local/share/Kestrelune/docs/manual.md"
(cd "$work/home" && env -i PATH="$PATH" HOME="$work/home" XDG_RUNTIME_DIR="$work/home/run" "$root/usr/bin/kestrelune" --check >/dev/null) || true
grep -q example.invalid "$work/home/.local/share/Kestrelune/input/update_server.txt" || fail "an update takes the user's setting"
[ -e "$work/home/.local/share/Kestrelune/docs/manual.md" ] || fail "an update brings nothing"

dpkg --root="$root" --force-not-root --log="$work/dpkg.log" -r kestrelune >"$work/remove.log" 2>&1 || fail "cannot be removed" "$work/remove.log"
[ -z "$(find "$root" -path "*/usr/*" -type f)" ] || fail "leaves files behind"

cmake --build "$build" --target archive >"$work/archive.log" 2>&1 || fail "no archive" "$work/archive.log"
tar -xzf "$build"/kestrelune-*.tar.gz -C "$work"
portable="$(ls -d "$work"/kestrelune-*)"
started "$portable" ./kestrelune "$portable"
