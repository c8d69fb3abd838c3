# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by the scripts at the top: runs test programs of one build and counts what they ran.
# The caller has set "root" to the project's folder.

# run_tests PRESET [CTEST OPTION...]: sets "summary" to what happened; shows the output of what failed.
# As many at once as there are processors: most of their time is waiting for each other's threads.
run_tests() {
    local preset="$1"
    shift
    local folder="$root/build/$preset" log="$root/build/$preset-test.log" code=0
    ctest --test-dir "$folder" --output-on-failure --no-tests=error --parallel "$(nproc)" "$@" >"$log" 2>&1 || code=$?
    local all="$folder/Testing/Temporary/LastTest.log"
    # Of "90% tests passed, 1 tests failed out of 10": the two numbers.
    local failed total skipped cases left_out
    read -r failed total < <(sed -n 's/^[0-9]*% tests passed, \([0-9]*\) tests failed out of \([0-9]*\)$/\1 \2/p' "$log") || true
    if [ -z "${total:-}" ]; then
        cat "$log" >&2
        summary="no test program was run"
        return 1
    fi
    skipped=$(grep -c '\*\*\*Skipped' "$log" || true)
    cases=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p' "$all" | awk '{ n += $1 } END { print n + 0 }')
    left_out=$(sed -n 's/^\[  SKIPPED \] \([0-9]*\) test.*/\1/p' "$all" | awk '{ n += $1 } END { print n + 0 }')
    summary="$((total - failed - skipped)) of $total test programs passed, $cases cases"
    if [ "$skipped" -gt 0 ]; then
        summary="$summary, $skipped programs skipped"
    fi
    if [ "$left_out" -gt 0 ]; then
        summary="$summary, $left_out cases skipped"
    fi
    if [ "$code" -ne 0 ]; then
        cat "$log" >&2
        return 1
    fi
}
