#!/bin/sh
# Compares the library's exported names with the committed list: exported_names.sh LIBRARY [--write]
set -eu
list=$(dirname "$0")/../cmake/exported_names.txt
names() { nm -D --defined-only "$1" | awk '$2 != "A" { print $3 }' | LC_ALL=C sort; }
if [ "${2:-}" = --write ]; then
  names "$1" > "$list"
else
  names "$1" | diff -u "$list" - && echo "exported names: $(wc -l < "$list") as listed"
fi
