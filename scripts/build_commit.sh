#!/bin/bash
# Builds the tool of a commit, for comparisons:  scripts/build_commit.sh COMMIT FOLDER
# The sources come from the repository, whatever the work tree holds.
set -euo pipefail
cd "$(dirname "$0")/.."
commit=$1 folder=$2
mkdir -p "$folder"
rm -rf "$folder/source"
mkdir "$folder/source"
git archive "$commit" | tar -x -C "$folder/source"
cmake -S "$folder/source" -B "$folder" -G Ninja -D CMAKE_BUILD_TYPE=Release -Wno-dev \
  --log-level=WARNING
cmake --build "$folder" --target opal
