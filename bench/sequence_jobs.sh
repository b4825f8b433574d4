#!/bin/sh
# Wall time of `mirrel render --frames` over a 1080p PNG sequence (ffmpeg's testsrc2) with one
# worker against N, at the effect's defaults; the runs must write the same files. Runs are
# interleaved and the shortest of each kept. Prints the speed-up last.
#   bench/sequence_jobs.sh [build dir] [frames] [jobs] [rounds]
set -eu
build=${1:-build}
frames=${2:-100}
jobs=${3:-$(nproc)}
rounds=${4:-2}
mirrel=$(cd "$build" && pwd)/mirrel
[ -x "$mirrel" ] || { echo "no $mirrel: build first" >&2; exit 2; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/one" "$work/many"
ffmpeg -hide_banner -nostdin -loglevel error -f lavfi -i testsrc2=size=1920x1080:rate=25 \
    -frames:v "$frames" -start_number 1 "$work/in/f%04d.png"

seconds() { # wall seconds of the command
    start=$(date +%s.%N)
    "$@"
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN {printf "%.2f", b - a}'
}
min() { [ -z "$1" ] && echo "$2" || awk -v a="$1" -v b="$2" 'BEGIN {print (b < a) ? b : a}'; }
one= many=
i=0
while [ $i -lt "$rounds" ]; do
    rm -f "$work/one/"* "$work/many/"*
    one=$(min "$one" "$(seconds "$mirrel" render "$work/in/f%04d.png" -o "$work/one/f%04d.png" \
        --frames "1-$frames" --jobs 1 -q)")
    many=$(min "$many" "$(seconds "$mirrel" render "$work/in/f%04d.png" -o "$work/many/f%04d.png" \
        --frames "1-$frames" --jobs "$jobs" -q)")
    diff -r "$work/one" "$work/many" >/dev/null ||
        { echo "--jobs $jobs wrote other files than --jobs 1" >&2; exit 1; }
    i=$((i + 1))
done
echo "frames: $frames at 1920x1080, identical files"
echo "--jobs 1: $one s"
echo "--jobs $jobs: $many s"
awk -v a="$one" -v b="$many" -v j="$jobs" 'BEGIN {printf "speed-up --jobs %d / --jobs 1: %.2f\n", j, a / b}'
