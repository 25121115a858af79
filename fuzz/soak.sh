#!/bin/sh
# fuzz/soak.sh PROGRAMS TARGET: runs PROGRAMS/fuzz-TARGET for VELNOR_FUZZ_SECONDS (10) on its seeds and what it learnt
# before, drawn by VELNOR_FUZZ_SEED (0: a new one). A finding ends it with 1 and names the input. Everything lies in build/fuzz-work. `ctest -L soak` and
# fuzz/run.sh call this.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
program=$1/fuzz-$2
here="$top/build/fuzz-work/$2"
mkdir -p "$here/inputs" "$here/findings"
# Earlier findings are inputs to begin with.
find "$here/findings" -type f -exec mv {} "$here/inputs" \;
kept=$(find "$top/fuzz/findings/$2" -maxdepth 0 2>/dev/null || true)
# Texts are longer than messages: half of the seeds of json have more than 512 characters.
case $2 in definitions | json) length=4096 ;; *) length=512 ;; esac
# Little of what was freed and of each piece's history is kept: both cost more time than all checks.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}allocator_may_return_null=1:quarantine_size_mb=8:malloc_context_size=4"

if "$program" -max_total_time="${VELNOR_FUZZ_SECONDS:-10}" -seed="${VELNOR_FUZZ_SEED:-0}" -max_len=$length -timeout=60 \
     -rss_limit_mb=2500 -entropic=0 -print_final_stats=1 -artifact_prefix="$here/findings/" "$here/inputs" \
     "$top/build/fuzz-work/seeds/$2" $kept >"$here/log" 2>&1; then
  grep -a '^Done' "$here/log" || true
  exit 0
fi
grep -a -A30 -E 'broken promise|ERROR: |runtime error' "$here/log" | cut -c1-300 | head -40 || true
echo "The log is $here/log"
echo "Run it again: $program $(find "$here/findings" -type f | head -1)"
exit 1
