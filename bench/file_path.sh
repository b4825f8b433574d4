#!/bin/bash
# The command's own cost per frame, beyond the effect, over 1080p RGB sequences (ffmpeg's
# testsrc2) in uncompressed TIFF and in PNG, against OpenImageIO reading and writing the same
# files alone (bench/oiio_copy.cpp). The effect's time is Frame/RGBA8/default of mirrel_bench.
# CPU time (the machine may be shared), one worker; each time the shortest of the rounds. Prints
# the ratio of each format last.
#   bench/file_path.sh [build dir] [frames] [rounds]
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
frames=${2:-20}
rounds=${3:-3}
for p in mirrel bench/mirrel_bench bench/mirrel_oiio_copy; do
    [ -x "$build/$p" ] || { echo "no $build/$p: build first" >&2; exit 2; }
done
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
make_frames() { # extension, ffmpeg options
    ext=$1
    shift
    ffmpeg -hide_banner -nostdin -loglevel error -f lavfi -i testsrc2=size=1920x1080:rate=25 \
        -frames:v "$frames" -start_number 1 -pix_fmt rgb24 "$@" "$work/in%04d.$ext"
}
seconds() { # CPU seconds of the command, user and system
    local TIMEFORMAT='%3U %3S'
    { time "$@" >/dev/null 2>&1; } 2>&1 | awk '{printf "%.4f", $1 + $2}'
}
min() { [ -z "$1" ] && echo "$2" || awk -v a="$1" -v b="$2" 'BEGIN {print (b < a) ? b : a}'; }

effect=$("$build/bench/mirrel_bench" --benchmark_filter='^Frame/RGBA8/default$' \
    --benchmark_repetitions="$rounds" --benchmark_report_aggregates_only=true \
    --benchmark_format=csv 2>/dev/null | awk -F, '/_median"?,/ {print $4}')
printf "effect alone (Frame/RGBA8/default): %.1f ms a frame\n" "$effect"
summary=
for ext in tif png; do
    rm -f "$work"/in*
    if [ "$ext" = tif ]; then make_frames tif -compression_algo raw; else make_frames png; fi
    command= library=
    i=0
    while [ $i -lt "$rounds" ]; do
        rm -f "$work"/out*
        command=$(min "$command" "$(seconds "$build/mirrel" render "$work/in%04d.$ext" \
            -o "$work/out%04d.$ext" --frames "1-$frames" --jobs 1 -q)")
        rm -f "$work"/out*
        library=$(min "$library" "$(seconds "$build/bench/mirrel_oiio_copy" "$work/in%04d.$ext" \
            "$work/out%04d.$ext" 1 "$frames")")
        i=$((i + 1))
    done
    line=$(awk -v c="$command" -v l="$library" -v e="$effect" -v n="$frames" -v x="$ext" 'BEGIN {
        c = c * 1000 / n; l = l * 1000 / n; b = c - e
        printf "%s: command %.1f ms a frame, beyond the effect %.1f, library read+write %.1f: %.2fx", x, c, b, l, b / l }')
    echo "$line"
    summary="$summary${line##*: }
"
done
printf "%s" "$summary" | awk 'NF {print "ratio " $0}'
