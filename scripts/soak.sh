#!/bin/bash
# Random problems of all families until N interpolants are confirmed by z3 and cvc5, or, with
# `splits`, N problems whose shared terms are: scripts/soak.sh TOOL N [SEED [splits]]
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$1 count=$2 seed=${3:-$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')}
if [[ ${4:-} == splits ]]; then
  echo "$count problems with shared terms, from seed $seed"
  exec python3 tests/random/splits.py --opal "$tool" -n "$count" --seed "$seed"
fi
echo "$count interpolants, from seed $seed"
exec python3 tests/random/differential.py --opal "$tool" --interpolants "$count" --seed "$seed"
