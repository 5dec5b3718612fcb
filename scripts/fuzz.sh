#!/bin/bash
# Runs the fuzz targets of the preset fuzz:  scripts/fuzz.sh SECONDS [TARGET...]
# Each starts from its seeds and what earlier runs added to build/fuzz/corpus, and stops at
# its first finding, which lies in build/fuzz/found. Fails when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=$1
shift
(($#)) || set -- interpreter numbers containers engine checker

# Where there are no seeds, a few texts without meaning: bytes are choices there.
seeds=build/fuzz/seeds
mkdir -p $seeds build/fuzz/found
for length in 40 400 2000; do
  head -c $length README.md >$seeds/text-$length
done

status=0
for target in "$@"; do
  corpus=build/fuzz/corpus/$target
  mkdir -p "$corpus"
  inputs=("$corpus" $seeds)
  options=()
  if [[ $target == interpreter ]]; then
    inputs=("$corpus" examples tests/tool)
    options=(-dict=fuzz/scripts.dict -max_len=8192)
  fi
  echo "--- $target, $seconds seconds"
  build/fuzz/fuzz_"$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 \
    -artifact_prefix=build/fuzz/found/"$target"- -print_final_stats=1 -verbosity=1 \
    "${options[@]}" "${inputs[@]}" >build/fuzz/"$target".log 2>&1 || status=1
  grep -E 'cov: ' build/fuzz/"$target".log | tail -n 1 || true
  grep -E 'executed_units|ERROR|fault:|Assertion|runtime error|SUMMARY' build/fuzz/"$target".log || true
done
exit $status
