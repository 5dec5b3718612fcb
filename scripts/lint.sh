#!/bin/bash
# clang-tidy over all sources, with the commands of the clang preset.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset clang -Wno-dev --log-level=WARNING
find opal tool examples -name '*.cpp' -print0 |
  xargs -0 -r -n 4 -P "$(nproc)" clang-tidy --quiet -p build/clang
