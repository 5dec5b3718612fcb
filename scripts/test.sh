#!/bin/bash
# Runs the tests of a built preset:  scripts/test.sh PRESET [CTEST-OPTION...]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
export UBSAN_OPTIONS=print_stacktrace=1
# A race whose first access is no longer in the history goes unreported; 7 is the longest.
export TSAN_OPTIONS=history_size=7
exec ctest --test-dir "build/$preset" --no-tests=error --output-on-failure -j "$(nproc)" "$@"
