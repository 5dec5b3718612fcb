#!/bin/bash
# Includes go one way: each folder includes only folders before it in the order below, and
# the engine's folders (and opal/version.h) include nothing from outside but GMP and the standard library.
set -euo pipefail
cd "$(dirname "$0")/.."

order="opal opal/utils opal/interfaces opal/la opal/host opal/proofs/resolution opal/sat opal/checker opal/capi opal/smtlib tool"
engine="opal opal/utils opal/interfaces opal/la"

find opal tool \( -name '*.h' -o -name '*.cpp' \) | LC_ALL=C sort | xargs awk \
  -v order="$order" -v engine="$engine" '
  function folder_of(path) {
    sub(/\/[^\/]*$/, "", path)
    return path
  }
  function fault(what) {
    printf "%s:%d: %s\n", FILENAME, FNR, what
    faults++
  }
  BEGIN {
    n = split(order, names, " ")
    for (i = 1; i <= n; i++) rank[names[i]] = i
    n = split(engine, names, " ")
    for (i = 1; i <= n; i++) in_engine[names[i]] = 1
  }
  FNR == 1 { files++ }
  /^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, part, "\"")
    from = folder_of(FILENAME)
    to = folder_of(part[2])
    if (!(from in rank)) fault("the folder " from " has no layer")
    else if (!(to in rank)) fault("\"" part[2] "\" is not written from the root")
    else if (rank[to] > rank[from]) fault(from " includes upwards: \"" part[2] "\"")
  }
  /^[ \t]*#[ \t]*include[ \t]*</ {
    split($0, part, /[<>]/)
    if ((folder_of(FILENAME) in in_engine) && part[2] ~ /[.\/]/ && part[2] !~ /^gmp(xx)?\.h$/)
      fault("the engine needs GMP only, not <" part[2] ">")
  }
  END {
    if (files < 10) { print "check-layers: found only " files " sources"; exit 1 }
    if (faults) { print "check-layers: " faults " faults"; exit 1 }
    print "check-layers: " files " sources, includes go one way"
  }'
