#!/usr/bin/env bash
# Installs the build into a scratch prefix, moves the prefix elsewhere, and checks that a program
# built against it gets Korean texts from ZonTextDomain::bind() alone.
#   check_installed_texts.sh BUILD_DIR CXX
set -euo pipefail
build_dir=$1
cxx=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build_dir" --prefix "$scratch/installed" >/dev/null
mv "$scratch/installed" "$scratch/moved"
lib=$(dirname "$(find "$scratch/moved" -name 'libzon-common.so.0' | head -n 1)")
export PKG_CONFIG_PATH=$lib/pkgconfig
cat > "$scratch/texts.cpp" <<'CPP'
#include <libintl.h>
#include <locale.h>
#include <stdio.h>

#include <ZonTextDomain.h>

int main()
{
	setlocale(LC_ALL, "C.UTF-8");
	if (!ZonTextDomain::bind())
		return 1;
	printf("%s\n%s\n", ZonTextDomain::getLocaleDir().c_str(), dgettext("zonvista", "WDS_ZON_TPOP_DELETED"));
	return 0;
}
CPP
# The prefix's .pc files point at the moved prefix by their own place.
"$cxx" -std=c++17 "$scratch/texts.cpp" -o "$scratch/texts" $(pkg-config --cflags --libs zon-common)
out=$(LANGUAGE=ko LD_LIBRARY_PATH="$lib" "$scratch/texts")
echo "$out"
[ "$out" = "$(realpath "$lib/../share/locale")
삭제했습니다." ]
