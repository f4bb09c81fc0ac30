#!/usr/bin/env bash
# Which of the module's lines the tests and the lab's scenes reach: scripts/coverage.sh [--unit]
# Without the scenes it takes the unit tests alone. The table goes to build/coverage/coverage.txt, the marked sources to
# build/coverage/html/.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_packages coverage
build=build/coverage
cmake --preset coverage
cmake --build --preset coverage
find "$build" -name '*.gcda' -delete
ctest --test-dir "$build" --output-on-failure

if [ "${1:-}" != --unit ]; then
  # A scene sees the build directory elsewhere; its counts are to come back here.
  slashes=${PWD//[^\/]/}/$build
  slashes=${slashes//[^\/]/}
  for scene in lab/scenes/*.py; do basename "$scene" .py; done |
    GCOV_PREFIX=/run/lab/build GCOV_PREFIX_STRIP=$((${#slashes})) xargs -P 3 -I '{}' lab/run '{}' --build "$build"
fi

rooms=()
for room in $(sed -n 's/^set(rooms \(.*\))$/\1/p' cmake/module/CMakeLists.txt); do rooms+=(--filter "$room/"); done
mkdir -p "$build/html"
gcovr --root . "${rooms[@]}" -j "$(nproc)" --txt "$build/coverage.txt" --html-details "$build/html/index.html" \
  --print-summary "$build"
