#!/bin/sh
# fuzz/run.sh [SECONDS [TARGET...]]: builds the fuzz targets and runs each for so many seconds (10), all or the named
# ones, then sums executions and findings. Ends with 1 if there are findings. They lie in build/fuzz-work/TARGET.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
. "$top/tools/need.sh"
export VELNOR_FUZZ_SECONDS="${1:-10}"
[ $# -eq 0 ] || shift

needBuild
needTests
needFuzz
getMissing
build fuzz fuzz-all
targets=${*:-$("$top/build/fuzz/fuzz-targets/fuzz-replay" --list)}
failed=0
ctest --test-dir "$top/build/fuzz" -L soak -R "^soak\.($(echo $targets | sed 's/ /|/g'))\$" --output-on-failure \
  -j "$(nproc)" --timeout $((VELNOR_FUZZ_SECONDS + 300)) || failed=1
for target in $targets; do
  here="$top/build/fuzz-work/$target"
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$here/log" | tail -1)
  echo "$target ${runs:-0} $(find "$here/findings" -type f | wc -l)"
done | awk '{ runs += $2; found += $3; printf "%-20s %10d executions %3d findings\n", $1, $2, $3 }
            END { printf "%-20s %10d executions %3d findings\n", "total", runs, found; exit found > 0 }' || failed=1
exit $failed
