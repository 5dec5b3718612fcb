#!/bin/bash
# Line coverage of all tests but those of packages (which link without gcov), with a tenth
# of the random problems: the share of each folder, then each file of the engine with the
# lines that no test reaches. Fails when less than 95 of 100 lines of the engine are covered.
# Nothing is left out of the count: an assertion is a line like any other.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh coverage
find build/coverage -name '*.gcda' -delete
OPAL_RANDOM_SCALE=${OPAL_RANDOM_SCALE:-0.1} scripts/test.sh coverage -E '^package'

lines=build/coverage/lines.json
gcovr --root . --object-directory build/coverage --exclude-directories '.*/(package|CompilerIdCXX)' \
  --filter 'opal/' --filter 'tool/' --json "$lines" build/coverage
report() { gcovr --root . --add-tracefile "$lines" "$@"; }
for folder in $(awk '!/^#/ { print $2 }' opal/layers.txt); do
  printf '%-19s %s\n' $folder "$(report --filter "$folder/[^/]*$" --txt | awk '$1 == "TOTAL" { print $4 }')"
done
report --filter 'opal/(utils|interfaces|la)/' --txt --fail-under-line 95
