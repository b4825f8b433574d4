#!/bin/sh
# CPU per 1080p frame of ffmpeg with the mirrel frei0r plug-in for each look people use, against
# ffmpeg's own flat reflection chain, single-threaded, the cost of making the frames (a run
# through the null filter) taken off. The looks' filters come from `mirrel export --for ffmpeg`,
# the plug-in's own mapping. Runs are interleaved and the least CPU of each kept; the table
# is sorted by ratio, the worst last. With BEFORE set to the frei0r-1 folder of another build
# (an earlier commit), its plug-in runs the same looks in the same rounds, in a column of its own.
#   [BEFORE=dir] bench/ffmpeg_looks.sh [build dir] [frames] [rounds]
set -eu
build=${1:-build}
frames=${2:-20}
rounds=${3:-2}
module_dir=$(cd "$build/frei0r-1" && pwd)
mirrel=$build/mirrel
[ -f "$module_dir/mirrel.so" ] && [ -x "$mirrel" ] || { echo "build first" >&2; exit 2; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed" >&2; exit 2; }

source="testsrc2=size=1920x1080:rate=25,format=rgba"
chain="split[o][m];[m]crop=iw:ih/4:0:ih/2,vflip,colorchannelmixer=aa=0.6,gblur=sigma=4[r];[o][r]overlay=0:main_h*3/4"

# name|setting;setting...
looks='default|
soft-linear|Softness=20;Softness Type=Progressive Linear
soft-simple|Softness=20;Softness Type=Simple
soft-mipmap|Softness=20;Softness Type=Mip Map
bend-seam|Bend=on;Seam Size=Medium
motionblur8|Motion Blur=on;Samples=8
noise-postsoft|Fade Noise=20;Post Softness=2
product|Softness=15;Fade Length=60;Mirrel Opacity=60;Bend=on;Bend Angle=20'

params() {
    printf '%s\n' "$1" | tr ';' '\n' | {
        set --
        while IFS= read -r s; do [ -n "$s" ] && set -- "$@" --set "$s"; done
        "$mirrel" export --for ffmpeg "$@"
    }
}

before=${BEFORE:-}
cpu() {
    FREI0R_PATH=${modules:-$module_dir} ffmpeg -hide_banner -nostdin -benchmark -threads 1 \
        -filter_threads 1 -filter_complex_threads 1 -f lavfi -i "$source" -frames:v "$frames" \
        -vf "$1" -f null - 2>&1 |
        sed -n 's/.*utime=\([0-9.]*\)s stime=\([0-9.]*\)s.*/\1 \2/p' | awk '{print $1 + $2}'
}
min() { [ -z "$1" ] && echo "$2" || awk -v a="$1" -v b="$2" 'BEGIN {print (b < a) ? b : a}'; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
printf '%s\n' "$looks" | while IFS='|' read -r name settings; do
    params "$settings" >"$tmp/$name.vf"
done
i=0
while [ $i -lt "$rounds" ]; do
    for f in null chain $(printf '%s\n' "$looks" | cut -d'|' -f1); do
        case $f in
        null) vf=null ;;
        chain) vf=$chain ;;
        *) vf=$(cat "$tmp/$f.vf") ;;
        esac
        t=$(cpu "$vf")
        old=$(cat "$tmp/$f.cpu" 2>/dev/null || true)
        min "$old" "$t" >"$tmp/$f.cpu"
        if [ -n "$before" ] && [ -f "$tmp/$f.vf" ]; then
            t=$(modules=$before cpu "$vf")
            old=$(cat "$tmp/$f.before" 2>/dev/null || true)
            min "$old" "$t" >"$tmp/$f.before"
        fi
    done
    i=$((i + 1))
done
n=$(cat "$tmp/null.cpu") c=$(cat "$tmp/chain.cpu")
awk -v n="$n" -v c="$c" -v f="$frames" 'BEGIN {
    printf "null (making the frames): %.1f ms/frame\n", 1000 * n / f
    printf "ffmpeg reflection chain:  %.1f ms/frame beyond that\n", 1000 * (c - n) / f
    printf "%-16s %10s %9s", "look", "ms/frame", "x chain" }'
[ -n "$before" ] && printf ' %16s %14s' "before ms/frame" "before x chain"
echo
for name in $(printf '%s\n' "$looks" | cut -d'|' -f1); do
    awk -v name="$name" -v p="$(cat "$tmp/$name.cpu")" -v n="$n" -v c="$c" -v f="$frames" \
        -v b="$(cat "$tmp/$name.before" 2>/dev/null || true)" 'BEGIN {
        printf "%-16s %10.1f %9.2f", name, 1000 * (p - n) / f, (p - n) / (c - n)
        if (b != "") printf " %16.1f %14.2f", 1000 * (b - n) / f, (b - n) / (c - n)
        printf "\n" }'
done | sort -k3 -n
