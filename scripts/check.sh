#!/bin/bash
# Everything that must hold before a change goes in. Stops at the first failure. The full
# suite with assertions runs last, so that its summary is what one sees.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/check-layers.sh
scripts/rooms.sh --check
scripts/check-operations.sh
scripts/format.sh --check
scripts/docs.sh

# The second compiler, with sanitizers, runs the same tests with a tenth of the random
# problems.
scripts/build.sh asan
OPAL_RANDOM_SCALE=0.1 scripts/test.sh asan
scripts/build.sh tsan
scripts/test.sh tsan -R '^Threads'
scripts/build.sh dev
scripts/test.sh dev
