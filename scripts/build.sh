#!/bin/bash
# Configures and builds presets:  scripts/build.sh PRESET...
set -euo pipefail
cd "$(dirname "$0")/.."
for preset in "$@"; do
  cmake --preset "$preset" -Wno-dev --log-level=WARNING
  cmake --build --preset "$preset"
done
