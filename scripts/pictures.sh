#!/bin/bash
# Draws the proofs in docs/images again:  scripts/pictures.sh TOOL
set -euo pipefail
tool=$(realpath "$1")
cd "$(dirname "$0")/../docs/images"
for problem in *.smt2; do
  "$tool" --svg "${problem%.smt2}.svg" "$problem"
done
