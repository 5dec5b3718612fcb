#!/bin/bash
# Includes go the ways that opal/layers.txt allows and no other. The engine's folders (and
# opal/version.h) include nothing from outside but GMP and the standard library.
set -euo pipefail
cd "$(dirname "$0")/.."

find opal tool \( -name '*.h' -o -name '*.cpp' \) | LC_ALL=C sort |
  xargs awk '
  function folder_of(path) {
    sub(/\/[^\/]*$/, "", path)
    return path
  }
  function full_name(room) { return room == "opal" || room == "tool" ? room : "opal/" room }
  function fault(what) {
    printf "%s:%d: %s\n", FILENAME, FNR, what
    faults++
  }
  function read_table(   line, n, word, i, from) {
    known["opal"] = 1
    in_engine["opal"] = 1
    while ((getline line < "opal/layers.txt") > 0) {
      if (line ~ /^#/) continue
      n = split(line, word, " ")
      from = word[2]
      rooms++
      for (i = 4; i <= n; i++) {
        if (!(full_name(word[i]) in known)) {
          print "opal/layers.txt: " from " may not include what stands above it: " word[i]
          faults++
        }
        allowed[from, full_name(word[i])] = 1
        arrows++
      }
      known[from] = 1
      if (word[1] == "engine") in_engine[from] = 1
    }
  }
  BEGIN { read_table() }
  FNR == 1 { files++ }
  /^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, part, "\"")
    from = folder_of(FILENAME)
    to = folder_of(part[2])
    if (!(from in known)) fault("the folder " from " is not in opal/layers.txt")
    else if (!(to in known)) fault("\"" part[2] "\" is not written from the root")
    else if (from != to && !((from, to) in allowed))
      fault(from " may not include " to ": \"" part[2] "\"")
    used[from, to] = 1
  }
  /^[ \t]*#[ \t]*include[ \t]*</ {
    split($0, part, /[<>]/)
    if ((folder_of(FILENAME) in in_engine) && part[2] ~ /[.\/]/ && part[2] !~ /^gmp(xx)?\.h$/)
      fault("the engine needs GMP only, not <" part[2] ">")
  }
  END {
    for (pair in allowed) if (!(pair in used)) {
      split(pair, end, SUBSEP)
      print "opal/layers.txt: " end[1] " does not include " end[2] ", so it need not be allowed to"
      faults++
    }
    if (files < 10 || rooms < 10) { print "check-layers: found only " files " sources"; exit 1 }
    if (faults) { print "check-layers: " faults " faults"; exit 1 }
    print "check-layers: " files " sources in " rooms " folders, " arrows " allowed arrows, one way"
  }'
