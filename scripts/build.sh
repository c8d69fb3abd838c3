# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by the scripts at the top: builds with nothing to read unless it fails.
# The caller has set "root" to the project's folder.

export CCACHE_NOHASHDIR=1
export CCACHE_BASEDIR="$root"

# quiet LOG COMMAND...: runs it with its output in a file, and shows the end of the file only when it fails.
quiet() {
    local log="$1"
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1; then
        grep -n -E 'error|FAILED|Error' "$log" | head -n 20 >&2 || true
        tail -n 40 "$log" >&2
        echo "failed: $* (all of it in $log)" >&2
        return 1
    fi
}

# build PRESET [TARGET...]: configures and builds.
build() {
    local preset="$1"
    shift
    local options=()
    if [ $# -gt 0 ]; then
        options=(--target "$@")
    fi
    (
        cd "$root" &&
            quiet "$root/build/$preset-configure.log" cmake --preset "$preset" &&
            quiet "$root/build/$preset-build.log" cmake --build --preset "$preset" "${options[@]}"
    )
}
