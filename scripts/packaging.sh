#!/usr/bin/env bash
# What an engineer does who never met us: installs a build, builds the C example beside it in both ways and runs it; makes
# the Debian packages, installs them, uses them, removes them. scripts/packaging.sh BUILD
# Everything happens in a temporary directory; the packages are installed in a copy of the system that is thrown away.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. scripts/packaging/common.sh

# Every installed header by itself, in C11 and in C++.
headers_stand_alone() {
  local include=$1 header
  while read -r header; do
    printf '#include "%s"\nextern int more;\n' "$header" > "$work/header.c"
    cc -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I"$include" "$work/header.c" || failed "$header in C"
    c++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$include" -x c++ "$work/header.c" || failed "$header in C++"
  done < <(cd "$include" && find dhcp platform -name '*.h')
  good "each of $(find "$include" -name '*.h' | wc -l) headers stands alone in C11 and in C++"
}

installed_by_component() {
  local component prefix=$work/prefix library
  for component in library development softswitch; do
    cmake --install "$build" --prefix "$prefix" --component $component > /dev/null
  done
  cmake --install "$build" --prefix "$work/whole" > /dev/null
  diff <(cd "$prefix" && find . | sort) <(cd "$work/whole" && find . | sort) || failed "a file is of no component"
  good "three components are the whole"
  library=$(find "$prefix" -name libdhcpmodule.so.1)
  [ -n "$library" ] || failed "no libdhcpmodule.so.1"
  readelf -d "$library" | grep -q 'SONAME.*\[libdhcpmodule.so.1\]' || failed "the soname of $library"
  "$prefix/bin/softswitch" --version | grep -q '^softswitch [0-9.]*$' || failed "softswitch --version"
  good "the installed soft switch finds its library"
  headers_stand_alone "$prefix/include/dhcpmodule"
  example_by_pkg_config "$(find "$prefix" -path '*/doc/*/examples/minimal')" "$(dirname "$library")"
  example_by_cmake "$work/by-pkg-config" "$prefix"
}

# options PROGRAM: the long options that its --help names.
options() { "$work/prefix/bin/$1" --help | grep -oE -- '--[a-z-]+' | sort -u; }

manuals_are_whole() {
  local page program option
  for page in docs/man/*; do
    LC_ALL=C.UTF-8 man --warnings -l "$page" > "$work/page.txt" 2> "$work/warnings.txt"
    [ ! -s "$work/warnings.txt" ] || failed "$page: $(cat "$work/warnings.txt")"
  done
  for page in docs/man/softswitch.8 docs/man/switchctl.1; do
    program=$(basename "${page%.*}")
    LC_ALL=C.UTF-8 man -l "$page" | col -b > "$work/page.txt"
    [ "$(options "$program" | wc -l)" -ge 3 ] || failed "$program --help names no options"
    for option in $(options "$program"); do
      grep -qE -- "$option( |\$)" "$work/page.txt" || failed "$page says nothing of $option"
    done
  done
  good "manual pages are without warnings and name every option"
}

packages_come_and_go() {
  (cd "$build" && cpack -B "$work/packages") > "$work/cpack.log" 2>&1 || failed "cpack: $(cat "$work/cpack.log")"
  good "$(find "$work/packages" -maxdepth 1 -name '*.deb' | wc -l) packages: $(cd "$work/packages" && echo *.deb)"
  if dpkg -s libdhcpmodule1 > /dev/null 2>&1; then
    echo "skipped: this machine has the packages already"
  elif [ "$(id -u)" -eq 0 ]; then
    unshare --mount --net --pid --fork --kill-child scripts/packaging/throw_away_root.sh "$work" > "$work/inside.log" 2>&1 ||
      failed "$(cat "$work/inside.log")"
    cat "$work/inside.log"
    checks=$((checks + $(grep -c '^ok:' "$work/inside.log")))
  else
    echo "skipped: installing the packages needs root"
  fi
}

installed_by_component
manuals_are_whole
packages_come_and_go
echo "summary: packaging: $checks checks passed"
