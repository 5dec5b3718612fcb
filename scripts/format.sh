#!/bin/bash
# Formats the C++ sources; with --check only says whether they are formatted.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[[ ${1:-} == --check ]] && mode=(--dry-run --Werror)
find opal tool tests bench examples fuzz \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print0 |
  xargs -0 clang-format-14 "${mode[@]}"
