#!/bin/sh
# fuzz/run.sh [SECONDS [TARGET...]]: builds the fuzz targets and runs each for so many seconds (15), all or the named
# ones, then sums executions and findings. Ends with 1 if there are findings. They lie in build/fuzz-work/TARGET.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/tools/need.sh"
export VELNOR_FUZZ_SECONDS="${1:-15}"
[ $# -eq 0 ] || shift

needBuild
needTests
needFuzz
getMissing
build fuzz fuzz-all
targets=${*:-$("$top/build/fuzz/fuzz-targets/fuzz-replay" --list)}
pattern=$(echo $targets | sed 's/ /|/g')
failed=0
ctest --test-dir "$top/build/fuzz" -L soak -R "^soak\.($pattern)\$" --output-on-failure -j "$(nproc)" \
  --timeout $((VELNOR_FUZZ_SECONDS + 300)) || failed=1

total=0
found=0
for target in $targets; do
  log="$top/build/fuzz-work/$target/log"
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  findings=$(find "$top/build/fuzz-work/$target/findings" -type f | wc -l)
  printf '%-20s %10s executions %3s findings\n' "$target" "${runs:-0}" "$findings"
  total=$((total + ${runs:-0}))
  found=$((found + findings))
done
printf '%-20s %10s executions %3s findings\n' total "$total" "$found"
[ "$found" -eq 0 ] && [ "$failed" -eq 0 ]
