#!/bin/bash
# The table of rooms in ARCHITECTURE.md: files, lines that are not blank, their share of all,
# and the arrows in the includes. With --check only says whether the page has today's table
# (an added line need not change it: shares are whole percents and lines are in hundreds).
set -euo pipefail
cd "$(dirname "$0")/.."

table=$(find opal tool \( -name '*.h' -o -name '*.cpp' \) | LC_ALL=C sort | xargs awk '
  function folder_of(path) { sub(/\/[^\/]*$/, "", path); return path }
  function short(room) { sub(/^opal\//, "", room); return room }
  BEGIN {
    while ((getline line < "opal/layers.txt") > 0)
      if (line !~ /^#/) { split(line, word, " "); order[++rooms] = word[2] }
  }
  FNR == 1 { files[folder_of(FILENAME)]++ }
  /[^ \t]/ { lines[folder_of(FILENAME)]++; all++ }
  /^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, part, "\"")
    from = folder_of(FILENAME); to = folder_of(part[2])
    if (from != to) includes[from, to]++
  }
  END {
    print "| Room | Files | Lines | Share | Includes |"
    print "|---|---|---|---|---|"
    for (i = 1; i <= rooms; i++) {
      room = order[i]; list = ""
      for (j = 1; j < i; j++)
        if ((room, order[j]) in includes) list = list (list == "" ? "" : ", ") short(order[j])
      printf "| `%s` | %d | %d | %d %% | %s |\n", room, files[room],
        100 * int((lines[room] + 50) / 100), int(100 * lines[room] / all + 0.5), list
    }
  }')
page=ARCHITECTURE.md
with_table() {
  awk -v table="$table" '
    /^<!-- rooms -->$/ { print; print table; inside = 1 }
    /^<!-- end of rooms -->$/ { inside = 0 }
    !inside { print }
    inside && /^<!-- rooms -->$/ { next }' $page
}
if [[ ${1:-} == --check ]]; then
  with_table | diff -q - $page >/dev/null || { echo "rooms: run scripts/rooms.sh, the table of $page is old"; exit 1; }
else
  with_table >$page.new
  mv $page.new $page
fi
