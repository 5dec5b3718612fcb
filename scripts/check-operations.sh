#!/bin/bash
# The interpolator's header is a table of contents: every operation is declared under a
# line `// --- source.cpp: ...` that names the source which defines it, and each source
# defines exactly what is declared under its name.
set -euo pipefail
cd "$(dirname "$0")/.."
class=Interpolator folder=opal/la header=opal/la/interpolator.h

# "file operation" for every declaration without a body.
declared=$(awk -v class=$class '
  $0 ~ "^class " class " " { inside = 1; next }
  /^};/ { inside = 0 }
  inside && match($0, /\/\/ --- [a-z_]+\.cpp/) {
    file = substr($0, RSTART + 7, RLENGTH - 7)
    text = ""
    next
  }
  !inside || file == "" { next }
  {
    sub(/\/\/.*/, "")
    text = text " " $0
  }
  /[;{}][ \t]*$/ {
    if (text ~ /;[ \t]*$/ && text !~ /[{}]/ && text !~ /=[ \t]*(delete|default|0)/ &&
        match(text, /~?[A-Za-z_][A-Za-z_0-9]*\(/))
      print file, substr(text, RSTART, RLENGTH - 1)
    text = ""
  }' $header | LC_ALL=C sort -u)

# "file operation" for every definition; those start in the first column.
defined=$(for source in $folder/*.cpp; do
  awk -v class=$class -v file="${source##*/}" '
    /^[A-Za-z]/ {
      line = $0
      name = ""
      while (match(line, class "::~?[A-Za-z_0-9]+\\(")) {
        name = substr(line, RSTART + length(class) + 2, RLENGTH - length(class) - 3)
        line = substr(line, RSTART + RLENGTH)
      }
      if (name != "") print file, name
    }' "$source"
done | LC_ALL=C sort -u)

if [[ -z $declared || -z $defined ]]; then
  echo "check-operations: found no operations in $header or $folder"
  exit 1
fi
if ! difference=$(diff <(echo "$declared") <(echo "$defined")); then
  echo "check-operations: $header (<) and the sources (>) disagree:"
  grep '^[<>]' <<<"$difference"
  exit 1
fi
echo "check-operations: $(wc -l <<<"$declared") operations, each in the file that names it"
