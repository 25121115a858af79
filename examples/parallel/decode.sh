#!/bin/sh
# Decodes files of lines on all cores, each line by `velnor3gpp filter`:
#     decode.sh OUTPUT FILE...      options of the filter in FILTER, of GNU parallel in PARALLEL_OPTIONS
# A file is the unit: its output is renamed to OUTPUT/FILE.json when it is whole, so that a job may die and run again.
# What is there already is not made again, so that the same call goes on behind a broken one. `parallel --pipepart` cuts a
# file into blocks instead, but a block whose job dies is lost, whatever --retries says (docs/at-scale.md).
set -eu
[ $# -ge 2 ] || { echo "usage: decode.sh OUTPUT FILE..." >&2; exit 2; }
output=$1
shift
[ -z "$(for file; do basename "$file"; done | sort | uniq -d)" ] || { echo "files of one name would have one output" >&2; exit 2; }
mkdir -p "$output"
export OUTPUT="$output" PROGRAM="${PROGRAM:-velnor3gpp}" FILTER="${FILTER:-}"
one='
name=$(basename "$1")
[ ! -e "$OUTPUT/$name.json" ] || exit 0
own="$OUTPUT/.$name.$(hostname).$$"
"$PROGRAM" filter $FILTER --summary "$own.counts" <"$1" >"$own" 2>/dev/null || { code=$?; rm -f "$own" "$own.counts"; exit $code; }
mv "$own.counts" "$OUTPUT/$name.counts" && mv "$own" "$OUTPUT/$name.json"'
export one
printf '%s\0' "$@" | parallel --will-cite --null --retries 5 --halt soon,fail=1 ${PARALLEL_OPTIONS:-} 'sh -c "$one" decode {}'
for file; do cat "$output/$(basename "$file").counts"; done |
  tr -dc '0-9,\n' | awk -F, '{ in_ += $1; out += $2; bad += $3 }
    END { printf "files=%d in=%d out=%d bad=%d\n", NR, in_, out, bad; exit in_ != out }'
