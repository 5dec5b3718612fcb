#!/bin/bash
# Random problems until N interpolants are confirmed by z3 and cvc5: scripts/soak.sh TOOL N
# [SEED [OF]], of one subject if OF names it (rational, integer, mixed, formulas). With
# `splits`, N problems whose shared terms are.
set -euo pipefail
cd "$(dirname "$0")/.."
export PYTHONPATH=$PWD/python
tool=$1 count=$2 seed=${3:-$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')} subject=${4:-}
if [[ $subject == splits ]]; then
  echo "$count problems with shared terms, from seed $seed"
  exec python3 tests/random/splits.py --opal "$tool" -n "$count" --seed "$seed"
fi
echo "$count interpolants, from seed $seed"
exec python3 tests/random/differential.py --opal "$tool" --interpolants "$count" --seed "$seed" \
  ${subject:+--subject "$subject"}
