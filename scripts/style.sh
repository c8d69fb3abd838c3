# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154,SC2034
# Sourced by .ci/run: how the sources look, and the slips that a reader of the syntax tree finds.
# The caller has set "root" to the project's folder and sourced build.sh.

# Every source of ours is as clang-format leaves it. Sets "summary".
check_format() {
    local files=()
    mapfile -t files < <(cd "$root" && find src world tools tests bench fuzz -name node_modules -prune -o \
        \( -name '*.h' -o -name '*.cpp' \) -print | sort)
    if [ "${#files[@]}" -eq 0 ]; then
        summary="no source is found"
        return 1
    fi
    (cd "$root" && printf '%s\n' "${files[@]}" |
        quiet "$root/build/format.log" xargs -d '\n' clang-format-14 --dry-run -Werror) || {
        summary="clang-format-14 -i would change a source"
        return 1
    }
    local unmarked
    unmarked="$(cd "$root" && printf '%s\n' "${files[@]}" | xargs -d '\n' grep -L 'SPDX-License-Identifier: MIT')"
    if [ -n "$unmarked" ]; then
        echo "$unmarked" | head -n 20 >&2
        summary="a source does not name its licence"
        return 1
    fi
    summary="${#files[@]} sources formatted"
}

# The checks of .clang-tidy over src/, with the compile commands of the development build. Sets "summary".
check_tidy() {
    (cd "$root" && quiet "$root/build/dev-configure.log" cmake --preset dev)
    local files=()
    mapfile -t files < <(
        sed -n "s|^ *\"file\": \"\($root/src/.*\.cpp\)\".*|\1|p" "$root/build/dev/compile_commands.json" | sort -u
    )
    if [ "${#files[@]}" -eq 0 ]; then
        summary="no source is found"
        return 1
    fi
    # The commands are those of g++, some of whose warnings clang does not know.
    printf '%s\n' "${files[@]}" |
        quiet "$root/build/tidy.log" xargs -d '\n' -P "$(nproc)" -n 4 \
            clang-tidy-14 -p "$root/build/dev" --quiet --extra-arg=-Wno-unknown-warning-option || {
        summary="clang-tidy-14 finds fault"
        return 1
    }
    summary="${#files[@]} sources tidy"
}
