#!/usr/bin/env bash
# zonclock and the city database under concurrent use, crashes, full disks and damaged files:
# the checks a user can repeat on their own machine. Each check prints one line of figures and
# "ok" or "FAILED"; the script ends with "N passed, N failed" and exits 1 when any failed.
#
#   tests/zonclock/db-safety-checks.sh [--quick] [ZONCLOCK]
#
# ZONCLOCK defaults to build/bin/zonclock. --quick runs each check on a smaller
# scale (what ctest runs); the full run is the one whose figures the README reports. Needs the
# sqlite3 shell; the full-disk check needs root (it mounts a small tmpfs) and is skipped
# otherwise, the permission check runs the program as "nobody" and needs root too.
set -u

quick=0
if [ "${1:-}" = "--quick" ]; then quick=1; shift; fi
here=$(cd "$(dirname "$0")/../.." && pwd)
zonclock=$(realpath "${1:-$here/build/bin/zonclock}")
[ -x "$zonclock" ] || { echo "no zonclock at $zonclock" >&2; exit 2; }
command -v sqlite3 >/dev/null || { echo "the sqlite3 shell is needed" >&2; exit 2; }

if [ $quick = 1 ]; then
	races=1 sameRaces=1 cities=10 listRuns=10 killPoints=5 restoreCities=20 freeStep=32768
else
	races=3 sameRaces=10 cities=100 listRuns=300 killPoints=100 restoreCities=20 freeStep=4096
fi

work=$(mktemp -d /tmp/zon-db-checks-XXXXXX)
mounted=""
cleanup() {
	[ -n "$mounted" ] && umount "$mounted" 2>/dev/null
	rm -rf "$work"
}
trap cleanup EXIT
export TZ=UTC ZON_HOST_ROOT="$work/unused-root"
passed=0 failed=0

report() { # name, figures, ok(0/1)
	if [ "$3" = 0 ]; then passed=$((passed + 1)); echo "ok      $1: $2"; else failed=$((failed + 1)); echo "FAILED  $1: $2"; fi
}

dbOf() { echo "$1/apps/korvath.zonvista/data/zonvista.db"; }
rows() { sqlite3 "$(dbOf "$1")" "SELECT count(*) FROM added_city2;" 2>/dev/null; }
# Both lists as "list:id" lines in list order: what a restore must leave whole or not at all.
lists() { sqlite3 "$(dbOf "$1")" "SELECT is_external || ':' || city_id FROM added_city2 ORDER BY is_external, id;" 2>/dev/null; }
fresh() { rm -rf "$1"; "$zonclock" --root "$1" add 1 >/dev/null && "$zonclock" --root "$1" remove 1 >/dev/null; }

# -- 1. Two processes add different cities at the same time: every add lands.
bad=0 figures=""
for run in $(seq "$races"); do
	root="$work/race$run"; fresh "$root"
	( for id in $(seq 1 "$cities"); do "$zonclock" --root "$root" add "$id" >/dev/null 2>>"$work/race.err"; done ) &
	( for id in $(seq $((cities + 1)) $((2 * cities))); do "$zonclock" --root "$root" add "$id" >/dev/null 2>>"$work/race.err"; done ) &
	wait
	n=$(rows "$root"); figures="$figures $n/$((2 * cities))"
	[ "$n" = $((2 * cities)) ] || bad=1
done
report "2 processes x $cities different adds, $races runs" "rows$figures" $bad

# -- 2. Two processes add the same cities: no duplicate row, and "Added" only for what was added.
bad=0 dups=0 falseAdded=0
for run in $(seq "$sameRaces"); do
	root="$work/same$run"; fresh "$root"
	for side in a b; do
		( for id in $(seq 1 "$cities"); do "$zonclock" --root "$root" add "$id" 2>/dev/null; done > "$work/same.$side" ) &
	done
	wait
	added=$(cat "$work/same.a" "$work/same.b" | grep -c '^Added')
	distinct=$(sqlite3 "$(dbOf "$root")" "SELECT count(DISTINCT city_id) FROM added_city2;")
	n=$(rows "$root")
	dups=$((dups + n - distinct))
	falseAdded=$((falseAdded + added - n))
	[ "$n" = "$cities" ] && [ "$distinct" = "$cities" ] && [ "$added" = "$cities" ] || bad=1
done
report "2 processes adding the same $cities cities, $sameRaces races" "duplicate rows $dups, false \"Added\" $falseAdded" $bad

# -- 3. list while another process writes: never a wrong "empty".
root="$work/listing"; fresh "$root"; "$zonclock" --root "$root" add 299 >/dev/null
( for i in $(seq 1 "$listRuns"); do id=$((i % 50 + 1)); "$zonclock" --root "$root" add "$id" >/dev/null 2>&1; "$zonclock" --root "$root" remove "$id" >/dev/null 2>&1; done ) &
writer=$!
empty=0 errors=0
for i in $(seq "$listRuns"); do
	out=$("$zonclock" --root "$root" list 2>&1) || errors=$((errors + 1))
	case "$out" in *empty*) empty=$((empty + 1)) ;; esac
done
wait $writer
report "$listRuns list runs during writes" "wrong \"empty\" $empty, failed runs $errors" $((empty + errors > 0))

# The restore checks: a device with 5 cities, a backup of 20 others (some in the second list).
prepareRestore() { # root
	fresh "$1"
	for id in 11 12 13 14 15; do "$zonclock" --root "$1" add "$id" >/dev/null; done
}
backupRoot="$work/backup-source"; fresh "$backupRoot"
for id in $(seq 100 $((100 + restoreCities - 6))); do "$zonclock" --root "$backupRoot" add "$id" >/dev/null; done
for id in 200 201 202 203 204; do "$zonclock" --root "$backupRoot" add "$id" --second >/dev/null; done
"$zonclock" --root "$backupRoot" backup "$work/cities.backup" >/dev/null
newLists=$(lists "$backupRoot")
probe="$work/probe"; prepareRestore "$probe"; oldLists=$(lists "$probe")

# -- 4. Restore killed at many points: the old lists or the new ones, never a mix.
start=$(date +%s%N); "$zonclock" --root "$probe" restore "$work/cities.backup" >/dev/null; end=$(date +%s%N)
duration=$(( (end - start) / 1000 )) # microseconds
partial=0 old=0 new=0
root="$work/killed"
for point in $(seq 0 $((killPoints - 1))); do
	prepareRestore "$root"
	"$zonclock" --root "$root" restore "$work/cities.backup" >/dev/null 2>&1 &
	pid=$!
	sleep "$(printf '0.%06d' $((duration * point / killPoints)))"
	kill -9 $pid 2>/dev/null; wait $pid 2>/dev/null
	now=$(lists "$root")
	if [ "$now" = "$oldLists" ]; then old=$((old + 1)); elif [ "$now" = "$newLists" ]; then new=$((new + 1)); else partial=$((partial + 1)); fi
done
report "restore killed at $killPoints points over $((duration / 1000)) ms" "old lists $old, new lists $new, partial $partial" $((partial > 0))

# -- 5. Restore on a disk with 0 to 64 KiB free.
if [ "$(id -u)" = 0 ] && mkdir -p "$work/small" && mount -t tmpfs -o size=2m tmpfs "$work/small" 2>/dev/null; then
	mounted="$work/small"
	partial=0 old=0 new=0 steps=0
	for free in $(seq 0 "$freeStep" 65536); do
		root="$work/small/device"; rm -rf "$root" "$work/small/filler"
		prepareRestore "$root"
		available=$(( $(stat -f -c '%a * %S' "$work/small") ))
		[ $available -gt $free ] && fallocate -l $((available - free)) "$work/small/filler"
		"$zonclock" --root "$root" restore "$work/cities.backup" >/dev/null 2>&1
		rm -f "$work/small/filler"
		now=$(lists "$root"); steps=$((steps + 1))
		if [ "$now" = "$oldLists" ]; then old=$((old + 1)); elif [ "$now" = "$newLists" ]; then new=$((new + 1)); else partial=$((partial + 1)); fi
	done
	report "restore with 0..64 KiB free, $steps steps" "old lists $old, new lists $new, partial $partial" $((partial > 0))
else
	echo "skipped full-disk restore: needs root and tmpfs"
fi

# -- 6. Damaged, locked and forbidden databases: never "empty" with exit 0; the cause is named.
bad=0 figures=""
damage() { # name, expected words, setup command (run with $db set), zonclock arguments...
	local name=$1 words=$2 setup=$3; shift 3
	local root="$work/damaged-$name"; prepareRestore "$root"
	local db; db=$(dbOf "$root")
	eval "$setup"
	local out code
	out=$("$@" 2>&1); code=$?
	eval "${undo:-}"; undo=""
	local ok=1
	if [ $code = 0 ] && [[ "$out" == *empty* ]]; then ok=0; fi
	if [ $code = 0 ] || [[ "$out" != *"$words"* ]]; then ok=0; fi
	figures="$figures $name:$code"
	[ $ok = 1 ] || { bad=1; echo "  $name: exit $code: $out" | head -c 400; echo; }
}
damage random-bytes "not a database" 'head -c 8192 /dev/urandom > "$db"' "$zonclock" --root "$work/damaged-random-bytes" list
damage text-file "not a database" 'yes "not a database" | head -c 20000 > "$db"' "$zonclock" --root "$work/damaged-text-file" list --second
damage truncated "not a database" 'truncate -s 1000 "$db"' "$zonclock" --root "$work/damaged-truncated" list
damage cut-page "damaged" 'truncate -s 5000 "$db"' "$zonclock" --root "$work/damaged-cut-page" list
damage directory "a directory" 'rm -f "$db"; mkdir "$db"' "$zonclock" --root "$work/damaged-directory" list
damage remove-garbage "not a database" 'head -c 8192 /dev/urandom > "$db"' "$zonclock" --root "$work/damaged-remove-garbage" remove 11
damage backup-garbage "not a database" 'head -c 8192 /dev/urandom > "$db"' "$zonclock" --root "$work/damaged-backup-garbage" backup "$work/never.backup"
# The lock is held from the marker on, long enough for zonclock's wait to run out.
lockHeld='(echo "BEGIN EXCLUSIVE; DELETE FROM added_city2;"; echo ".system touch $work/locked"; sleep 10) 2>/dev/null | sqlite3 "$db" >/dev/null 2>&1 &
	lockPid=$!; undo="kill \$lockPid"
	for i in $(seq 100); do [ -e "$work/locked" ] && break; sleep 0.1; done'
damage locked "locked" "$lockHeld" "$zonclock" --root "$work/damaged-locked" add 299
if [ "$(id -u)" = 0 ] && command -v runuser >/dev/null; then
	damage no-permission "no permission" 'chmod 755 "$work"; chmod -R go-rwx "$root/apps"' runuser -u nobody -- "$zonclock" --root "$work/damaged-no-permission" list
	damage no-permission-write "no permission" 'chmod 755 "$work"; chmod -R a+rX "$root"; chmod 444 "$db"' runuser -u nobody -- "$zonclock" --root "$work/damaged-no-permission-write" add 299
fi
[ -e "$work/never.backup" ] && { bad=1; echo "  a backup was written from an unreadable database"; }
report "damaged, locked and forbidden databases" "exit codes$figures" $bad

echo "$passed passed, $failed failed"
[ $failed = 0 ]
