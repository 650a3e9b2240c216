#!/usr/bin/env bash
# Installs the build into a scratch prefix and builds a program against it through pkg-config.
set -euo pipefail
build_dir=$1
cxx=$2
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
pcdir=$(dirname "$(find "$scratch/prefix" -name zon-common.pc | head -n 1)")
export PKG_CONFIG_PATH=$pcdir
"$cxx" -std=c++17 "$here/app.cpp" -o "$scratch/app" $(pkg-config --cflags --libs zon-common)
libdir=$(pkg-config --variable=libdir zon-common)
out=$(ZON_HOST_ROOT="$scratch/device" LD_LIBRARY_PATH="$libdir" "$scratch/app")
echo "$out"
[ "$out" = "299 Tokyo Asia/Tokyo" ]
