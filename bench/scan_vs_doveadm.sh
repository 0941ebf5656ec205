#!/usr/bin/env bash
# scan_vs_doveadm.sh - a duplicate scan by `tessel mail scan` against the header floor and `doveadm deduplicate`,
# on the same generated store, in one run, and each ratio beside its goal.
#
# Usage: bench/scan_vs_doveadm.sh [options]
#   --n N          messages in the main store (default 10000)
#   --runs R       alternated runs of each measurement; medians are compared (default 3)
#   --scale        also a store of 10 x N messages: time per message and resident memory per message
#   --million      also a store of 1,000,000 small messages (--max-body 2048), scanned once (~3 GB of files,
#                  ~4 GB of disk with the file system's overhead; generating it takes ~20 min on two cores)
#   --no-doveadm   leave doveadm out
#   --work DIR     where the stores go (default: a new directory under ${TMPDIR:-/tmp}, removed at the end)
#   --keep         keep the work directory
#
# The generator, the floor program and doveadm-dedup.sh come from the shared bench directory: ../shared/bench
# beside the repository's directory, or $TESSEL_SHARED_DIR/bench. The build is build/default (cmake --preset
# default). Machines are noisy: only ratios taken in one run mean anything.
#
# What each line measures (STORE is $work/sN, generated with --seed 11 --collision-rate 0.01, or reused as it is
# when the directory exists, with its STORE.truth.json and STORE.list.tsv):
#   groups ... ground truth   `tessel --store STORE mail scan --by message-id,subject,from,date --json`, summary
#                             against the generator's content_groups / content_excess
#   scan / header-floor light median wall time of that scan (without --json) over the median of
#                             `header-floor light STORE.files`, runs alternated
#   scan / doveadm            the same scan over the median of `doveadm-dedup.sh --runs 1 STORE`
#   scan with body / scan     the scan with `,body` added to --by over the scan without it
#   cold scan / cold headers  both with the page cache dropped first (root only; otherwise "not measured")
#   time per message          medians of alternated scans of the 10 x N store and the N store, per message
#   resident memory           peak resident set (time -f %M) of a scan of the 10 x N store, minus that of a scan
#                             of an empty store, over 10 x N
#   1,000,000                 one scan under time(1): wall time, peak resident set, bytes per message above the
#                             empty store, groups against the ground truth
# On machines with proactive reclaim (a busy kdamond), pages of a large store may leave the page cache between
# runs even with memory free: a "warm" run then reads from the disk. Compare the scale figures with the user and
# system times of /usr/bin/time -v when they look odd.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
shared=${TESSEL_SHARED_DIR:-$root/../shared}
bench=$shared/bench
n=10000; runs=3; scale=0; million=0; doveadm=1; work=; keep=0
while [ $# -gt 0 ]; do
  case "$1" in
    --n) n=$2; shift 2;;
    --runs) runs=$2; shift 2;;
    --scale) scale=1; shift;;
    --million) million=1; shift;;
    --no-doveadm) doveadm=0; shift;;
    --work) work=$2; shift 2;;
    --keep) keep=1; shift;;
    -h|--help) sed -n '2,18p' "$0"; exit 0;;
    *) echo "unknown option $1" >&2; exit 2;;
  esac
done
[ -f "$bench/gen-maildir.py" ] || { echo "no shared bench directory at $bench (set TESSEL_SHARED_DIR)" >&2; exit 2; }
if [ "$doveadm" = 1 ] && ! command -v doveadm > /dev/null; then
  echo "note: doveadm not installed (Debian package dovecot-core); its comparison is skipped"
  doveadm=0
fi
if [ -z "$work" ]; then
  work=$(mktemp -d "${TMPDIR:-/tmp}/tessel-scan-bench.XXXXXX")
  [ "$keep" = 1 ] || trap 'rm -rf "$work"' EXIT
fi
mkdir -p "$work"

echo "== build"
(cd "$root" && cmake --preset default > /dev/null && cmake --build --preset default -j2 --target tessel_cli search_bench > "$work/build.log" 2>&1) ||
  { tail -20 "$work/build.log"; exit 1; }
tessel=$root/build/default/tools/tessel/tessel
cc -O2 -o "$work/header-floor" "$bench/header-floor.c" $(pkg-config --cflags --libs gmime-3.0)

now() { date +%s%N; }
median() { sort -n | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
# Prints "LABEL: VALUE x (goal: at most GOAL x) ok|MISSED".
verdict() { awk -v l="$1" -v v="$2" -v g="$3" 'BEGIN { printf "%-58s %6.2f x  (goal: at most %s x)  %s\n", l, v, g, v <= g ? "ok" : "MISSED" }'; }

# gen STORE N [ARGS...]: a store, its ground truth and a list of its files.
gen() {
  local store=$1 count=$2; shift 2
  [ -d "$store" ] || python3 "$bench/gen-maildir.py" "$store" "$count" --seed 11 --collision-rate 0.01 \
    --truth "$store.truth.json" --list "$store.list.tsv" "$@" > /dev/null
  tail -n +2 "$store.list.tsv" | cut -f1 | sed "s|^|$store/|" > "$store.files"
}
# Seconds (nanoseconds) of one command.
timed() { local t0; t0=$(now); "$@" > /dev/null; echo $(( $(now) - t0 )); }
scan_args=(mail scan --by message-id,subject,from,date)
scan() { "$tessel" --store "$1" "${scan_args[@]}" "${@:2}"; }
scan_body() { "$tessel" --store "$1" mail scan --by message-id,subject,from,date,body "${@:2}"; }
floor_light() { "$work/header-floor" light "$1.files"; }
# Peak resident set in bytes of a scan of STORE (the binary itself: time(1) can't run a shell function).
peak_rss_scan() { /usr/bin/time -f %M "$tessel" --store "$1" "${scan_args[@]}" 2>&1 > /dev/null | tail -1 | awk '{ print $1 * 1024 }'; }
# check_groups STORE: one scan, its groups set against the generator's ground truth. Its wall seconds and peak
# resident KiB (time(1)) are left in $work/scan.time.
check_groups() {
  /usr/bin/time -o "$work/scan.time" -f '%e %M' "$tessel" --store "$1" "${scan_args[@]}" --json > "$work/scan.json"
  python3 - "$work/scan.json" "$1.truth.json" <<'EOF'
import json, sys
scan, truth = json.load(open(sys.argv[1])), json.load(open(sys.argv[2]))
got = (scan["summary"]["groups"], scan["summary"]["duplicates"])
want = (truth["content_groups"], truth["content_excess"])
print(f"groups {got[0]}, duplicates {got[1]}; ground truth: groups {want[0]}, duplicates {want[1]}  "
      + ("ok" if got == want else "DIFFERENT"))
EOF
}

store=$work/s$n
echo "== store: $n messages (gen-maildir.py --seed 11 --collision-rate 0.01)"
gen "$store" "$n"
cat $(head -1000 "$store.files") > /dev/null; find "$store" -type f -exec cat {} + > /dev/null # warm

echo "== groups against the generator's ground truth"
check_groups "$store"

echo "== warm cache, $runs alternated runs"
: > "$work/t.floor"; : > "$work/t.scan"; : > "$work/t.body"; : > "$work/t.dove"
for r in $(seq 1 "$runs"); do
  timed floor_light "$store" >> "$work/t.floor"
  timed scan "$store" >> "$work/t.scan"
  timed scan_body "$store" >> "$work/t.body"
  if [ "$doveadm" = 1 ]; then
    "$bench/doveadm-dedup.sh" --runs 1 "$(cd "$store" && pwd -P)" | awk '/^median wall:/ { printf "%d\n", $3 * 1e9 }' >> "$work/t.dove"
  fi
done
tf=$(median < "$work/t.floor"); ts=$(median < "$work/t.scan"); tb=$(median < "$work/t.body")
printf 'medians: header-floor light %.3f s, scan %.3f s, scan with body %.3f s' "$(ratio "$tf" 1e9)" \
  "$(ratio "$ts" 1e9)" "$(ratio "$tb" 1e9)"
[ "$doveadm" = 1 ] && printf ', doveadm deduplicate -m %.3f s' "$(ratio "$(median < "$work/t.dove")" 1e9)"
echo
verdict "scan / header-floor light" "$(ratio "$ts" "$tf")" 2
[ "$doveadm" = 1 ] && verdict "scan / doveadm deduplicate -m" "$(ratio "$ts" "$(median < "$work/t.dove")")" 0.5
verdict "scan with body / scan" "$(ratio "$tb" "$ts")" 1.5

echo "== cold cache"
if [ -w /proc/sys/vm/drop_caches ] && sync && echo 3 > /proc/sys/vm/drop_caches 2> /dev/null; then
  tcf=$(timed floor_light "$store"); sync; echo 3 > /proc/sys/vm/drop_caches
  tcs=$(timed scan "$store")
  verdict "cold scan / cold header blocks" "$(ratio "$tcs" "$tcf")" 1.2
else
  echo "cannot drop the page cache here (no write access to /proc/sys/vm/drop_caches): not measured"
fi

if [ "$scale" = 1 ] || [ "$million" = 1 ]; then
  mkdir -p "$work/empty/cur" "$work/empty/new" "$work/empty/tmp"
  rss0=$(peak_rss_scan "$work/empty")
fi

if [ "$scale" = 1 ]; then
  big=$((n * 10)); store10=$work/s$big
  echo "== scale: $big messages"
  gen "$store10" "$big"
  find "$store10" -type f -exec cat {} + > /dev/null
  check_groups "$store10" # also gives the ids once, as for the small store
  # Both sizes again, alternated, so that the ratio isn't one of two different hours.
  : > "$work/t.small"; : > "$work/t.big"
  for r in $(seq 1 "$runs"); do
    timed scan "$store" >> "$work/t.small"
    timed scan "$store10" >> "$work/t.big"
  done
  t1=$(median < "$work/t.small"); t10=$(median < "$work/t.big")
  printf 'medians: scan of %d %.3f s, scan of %d %.3f s\n' "$n" "$(ratio "$t1" 1e9)" "$big" "$(ratio "$t10" 1e9)"
  verdict "time per message at $big / at $n" "$(awk -v a="$t10" -v b="$t1" -v x="$big" -v y="$n" 'BEGIN { print (a / x) / (b / y) }')" 1.1
  rss=$(peak_rss_scan "$store10")
  per=$(( (rss - rss0) / big ))
  awk -v p="$per" -v r="$rss" -v r0="$rss0" 'BEGIN { printf "%-58s %6d B  (goal: at most 500 B)  %s   [peak %d KiB, empty store %d KiB]\n", "resident memory per message above the start", p, p <= 500 ? "ok" : "MISSED", r / 1024, r0 / 1024 }'
  echo "== search core: per-Add time at 100k against 10k"
  "$root/build/default/bench/search_bench" 2>&1 | tail -15
fi

# An existing $work/s1m (with its .truth.json and .list.tsv) is scanned as it is; a new one is removed afterwards
# unless --keep.
if [ "$million" = 1 ]; then
  store1m=$work/s1m
  echo "== 1,000,000 small messages (--max-body 2048); disk: $(df -h "$work" | awk 'NR == 2 { print $4 }') free"
  made=0; [ -d "$store1m" ] || made=1
  gen "$store1m" 1000000 --max-body 2048
  check_groups "$store1m"
  read -r t rss < "$work/scan.time"
  awk -v t="$t" -v r="$rss" -v r0="$rss0" 'BEGIN { printf "scanned in %.1f s (%.1f us per message), peak resident %d MiB, %d B per message above the start  (goal: under 1024 MiB)  %s\n", t, t, r / 1024, (r * 1024 - r0) / 1e6, r < 1048576 ? "ok" : "MISSED" }'
  [ "$made" = 0 ] || [ "$keep" = 1 ] || rm -rf "$store1m"
fi
