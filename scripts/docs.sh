#!/bin/bash
# Writes the API pages; any warning of Doxygen's, such as a reference to nothing, is a failure.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/docs
doxygen docs/Doxyfile
echo "docs: $(find build/docs/html -name '*.html' | wc -l) pages in build/docs/html"
