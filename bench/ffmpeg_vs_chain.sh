#!/bin/sh
# CPU per 1080p frame of ffmpeg with the mirrel frei0r plug-in at its defaults, against ffmpeg's
# own flat reflection chain, both single-threaded, with the cost of making and converting the
# frames (a run through the null filter) taken off. Runs are interleaved and the least CPU of
# each kept; the ratio plug-in / chain comes last.
#   bench/ffmpeg_vs_chain.sh [build dir] [frames] [rounds]
set -eu
build=${1:-build}
frames=${2:-30}
rounds=${3:-3}
module_dir=$(cd "$build/frei0r-1" && pwd)
[ -f "$module_dir/mirrel.so" ] || { echo "no $module_dir/mirrel.so: build first" >&2; exit 2; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed" >&2; exit 2; }

source="testsrc2=size=1920x1080:rate=25,format=rgba"
chain="split[o][m];[m]crop=iw:ih/4:0:ih/2,vflip,colorchannelmixer=aa=0.6,gblur=sigma=4[r];[o][r]overlay=0:main_h*3/4"

# User plus system CPU seconds of one run, from ffmpeg's own accounting.
cpu() {
    FREI0R_PATH=$module_dir ffmpeg -hide_banner -nostdin -benchmark -threads 1 \
        -filter_threads 1 -filter_complex_threads 1 -f lavfi -i "$source" -frames:v "$frames" \
        -vf "$1" -f null - 2>&1 |
        sed -n 's/.*utime=\([0-9.]*\)s stime=\([0-9.]*\)s.*/\1 \2/p' | awk '{print $1 + $2}'
}

best_null= best_plugin= best_chain=
min() { [ -z "$1" ] && echo "$2" || awk -v a="$1" -v b="$2" 'BEGIN {print (b < a) ? b : a}'; }
i=0
while [ $i -lt "$rounds" ]; do
    best_null=$(min "$best_null" "$(cpu null)")
    best_plugin=$(min "$best_plugin" "$(cpu frei0r=filter_name=mirrel)")
    best_chain=$(min "$best_chain" "$(cpu "$chain")")
    i=$((i + 1))
done
awk -v n="$best_null" -v p="$best_plugin" -v c="$best_chain" -v f="$frames" 'BEGIN {
    printf "null (making the frames): %.1f ms/frame\n", 1000 * n / f
    printf "frei0r mirrel:            %.1f ms/frame beyond that\n", 1000 * (p - n) / f
    printf "ffmpeg reflection chain:  %.1f ms/frame beyond that\n", 1000 * (c - n) / f
    printf "ratio mirrel / chain: %.2f\n", (p - n) / (c - n)
}'
