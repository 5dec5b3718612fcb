#!/bin/bash
# Random problems of all families until N interpolants are confirmed by z3 and cvc5:
# scripts/soak.sh TOOL N [SEED]
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$1 count=$2 seed=${3:-$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')}
echo "$count interpolants, from seed $seed"
exec python3 tests/random/differential.py --opal "$tool" --interpolants "$count" --seed "$seed"
