#!/usr/bin/env bash
# Installs the build into a scratch prefix and uses it as another project would: a program built
# through pkg-config, the CMake package (find_package and pkg_check_modules(IMPORTED_TARGET)),
# zonclock rebuilt from its sources against the prefix alone, and the installed zonclock run
# without LD_LIBRARY_PATH.
#   check_install.sh BUILD_DIR CXX [ZONCLOCK_SOURCE_DIR]
set -euo pipefail
build_dir=$1
cxx=$2
zonclock_src=${3:-}
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset LD_LIBRARY_PATH
fail() { echo "check_install: $*" >&2; exit 1; }

prefix=$scratch/prefix
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
pcdir=$(dirname "$(find "$prefix" -name zon-common.pc | head -n 1)")
export PKG_CONFIG_PATH=$pcdir
export ZON_HOST_ROOT=$scratch/device

# pkg-config: the program runs from its RUNPATH-less build only with the library path.
"$cxx" -std=c++17 "$here/app.cpp" -o "$scratch/app" $(pkg-config --cflags --libs zon-common)
libdir=$(pkg-config --variable=libdir zon-common)
out=$(LD_LIBRARY_PATH="$libdir" "$scratch/app")
[ "$out" = "299 Tokyo Asia/Tokyo" ] || fail "pkg-config program printed '$out'"
if pkg-config --libs zon-common | grep -Eq -- '-l(elementary|evas|ecore|edje|eina|eo)\b'; then
  fail "pkg-config zon-common links the toolkit: $(pkg-config --libs zon-common)"
fi
[ -d "$(pkg-config --variable=localedir zon-common)/ko/LC_MESSAGES" ] || fail "localedir does not hold the catalogues"

# Only what the contract declares is installed: no test hooks, no private sources.
if grep -rl 'TestPeer' "$prefix/include" >/dev/null; then
  fail "test-only declarations in installed headers: $(grep -rl TestPeer "$prefix/include")"
fi

# The installed zonclock finds its libraries from where it lies.
"$prefix/bin/zonclock" --help >/dev/null || fail "installed zonclock does not run without LD_LIBRARY_PATH"
# Its man page and bash completion lie where man and bash-completion look.
man1=$(find "$prefix" -path '*/man1/zonclock.1' | head -n 1)
[ -n "$man1" ] && grep -q '^\.SS zonclock at TIME' "$man1" || fail "no man page with the commands under $prefix"
[ -f "$prefix/share/bash-completion/completions/zonclock" ] || fail "no bash completion under $prefix"

[ -n "$zonclock_src" ] || exit 0
cmake -S "$here/consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O0 \
  ${CMAKE_CXX_COMPILER_LAUNCHER:+-DCMAKE_CXX_COMPILER_LAUNCHER=$CMAKE_CXX_COMPILER_LAUNCHER} \
  -DAPP_SOURCE="$here/app.cpp" -DZONCLOCK_SOURCE_DIR="$zonclock_src" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
for app in app_cmake app_pc; do
  rm -rf "$ZON_HOST_ROOT"
  out=$("$scratch/consumer/$app")
  [ "$out" = "299 Tokyo Asia/Tokyo" ] || fail "$app printed '$out'"
done
rm -rf "$ZON_HOST_ROOT"
"$scratch/consumer/zonclock" add Tokyo >/dev/null
"$scratch/consumer/zonclock" list | grep -q Tokyo || fail "zonclock built from the prefix does not list its city"
echo "install checks passed"
