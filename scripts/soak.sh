#!/bin/bash
# Many random problems against z3:  scripts/soak.sh TOOL N [SEED]
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$1 count=$2 seed=${3:-$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')}
echo "$count problems from seed $seed"
exec python3 tests/random/differential.py --opal "$tool" -n "$count" --seed "$seed"
