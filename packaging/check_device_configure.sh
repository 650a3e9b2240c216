#!/bin/sh
# Configures the device build (ZON_PLATFORM=device) against packaging/device-pc, stand-ins of
# the watch platform's pkg-config modules, and checks that the recipe's BuildRequires name
# exactly those modules.
#   check_device_configure.sh SOURCE_DIR WORK_DIR CMAKE GENERATOR
set -eu
src=$1 work=$2 cmake=$3 generator=$4

required=$(sed -n 's/^BuildRequires: *pkgconfig(\(.*\))$/\1/p' "$src/packaging/zon-common.rpm-recipe" | sort)
standins=$(cd "$src/packaging/device-pc" && ls -- *.pc | sed 's/\.pc$//' | sort)
if [ "$required" != "$standins" ]; then
	echo "the RPM recipe's pkgconfig() BuildRequires and packaging/device-pc/ differ:" >&2
	printf '%s\n' "$required" > "$work.required"
	printf '%s\n' "$standins" | diff "$work.required" - >&2 || true
	exit 1
fi

rm -rf "$work"
# Only the stand-ins: the desktop's own modules must not answer for the device's.
PKG_CONFIG_LIBDIR="$src/packaging/device-pc" PKG_CONFIG_PATH="" \
	"$cmake" -S "$src" -B "$work" -G "$generator" -DZON_PLATFORM=device >"$work.log" 2>&1 || {
	cat "$work.log" >&2
	exit 1
}
# The device build is the library alone: no host port, no tool.
if grep -q '^zon-host\|^zonclock' "$work/CMakeCache.txt" || [ -d "$work/platform/host" ]; then
	echo "the device build configured host parts" >&2
	exit 1
fi
grep -q '^ZON_DEVICE_FOUND:INTERNAL=1' "$work/CMakeCache.txt"
# The host's library layout: zon-common off the toolkit, zon-common-ui on it.
if grep -q 'elementary\|efl-extension' "$work/zon-common.pc" || ! grep -q '^Requires: zon-common .*elementary' "$work/zon-common-ui.pc"; then
	echo "the device build's zon-common.pc and zon-common-ui.pc do not split the toolkit off" >&2
	exit 1
fi
echo "device build configures against $(printf '%s\n' "$standins" | wc -l) platform modules"
