#!/bin/bash
# Everything that must hold before a change goes in. Stops at the first failure. The full
# suite with assertions runs last, so that its summary is what one sees.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/check-layers.sh
scripts/check-operations.sh
scripts/format.sh --check
scripts/docs.sh

# The second compiler and the sanitizers run the same tests, with a tenth of the random
# problems.
for preset in clang asan; do
  scripts/build.sh $preset
  OPAL_RANDOM_SCALE=0.1 scripts/test.sh $preset
done
scripts/build.sh tsan
scripts/test.sh tsan -R '^Threads'
scripts/build.sh dev
scripts/test.sh dev
