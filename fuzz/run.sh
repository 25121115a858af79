#!/bin/sh
# fuzz/run.sh [SECONDS [TARGET...]]: builds the fuzz targets and runs each for so many seconds (15), all or the named
# ones, then sums executions and findings. Ends with 1 if there are findings. They lie in build/fuzz-work/TARGET.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/tools/need.sh"
seconds=${1:-15}
[ $# -eq 0 ] || shift

needBuild
needTests
needProgram clang++ clang
command -v clang++ >/dev/null 2>&1 && ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a >/dev/null 2>&1 ||
  miss libclang-rt-14-dev
getMissing
build fuzz fuzz-all

bin="$top/build/fuzz/fuzz"
work="$top/build/fuzz-work"
mkdir -p "$work"
"$bin/fuzz-replay" --write "$work/seeds"
targets=${*:-$(cd "$work/seeds" && ls)}
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1}"

runTarget()
{
  mkdir -p "$work/$1/inputs" "$work/$1/findings"
  kept="$top/fuzz/findings/$1"
  [ -d "$kept" ] || kept=""
  "$bin/fuzz-$1" -max_total_time="$seconds" -max_len=1024 -timeout=20 -rss_limit_mb=3000 -print_final_stats=1 \
    -artifact_prefix="$work/$1/findings/" "$work/$1/inputs" "$work/seeds/$1" $kept >"$work/$1/log" 2>&1 || true
}

# As many at a time as there are processors.
jobs=0
for target in $targets; do
  runTarget "$target" &
  jobs=$((jobs + 1))
  [ $((jobs % $(nproc))) -ne 0 ] || wait
done
wait

total=0
found=0
for target in $targets; do
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$target/log" | tail -1)
  # A target that ended early has no statistics: its last line of progress begins with the count.
  [ -n "$runs" ] || runs=$(sed -n 's/^#\([0-9]*\).*/\1/p' "$work/$target/log" | tail -1)
  findings=$(ls "$work/$target/findings" | wc -l)
  printf '%-20s %10s executions %3s findings\n' "$target" "${runs:-0}" "$findings"
  total=$((total + ${runs:-0}))
  found=$((found + findings))
done
printf '%-20s %10s executions %3s findings\n' total "$total" "$found"
[ "$found" -eq 0 ]
