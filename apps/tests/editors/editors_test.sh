#!/usr/bin/env bash
# Mirrel in the real editors, under a virtual display, as a user meets it:
# - Kdenlive applies Mirrel with its defaults to a clip (through its effect list and the
#   pointer), saves the project, and melt renders that project as `mirrel render` renders the
#   defaults;
# - Shotcut lists the filter (from the folder the package installs) and opens its panel.
# Screenshots stay in ARTEFACTS.   editors_test.sh BUILD ARTEFACTS
# Exit 77 (skipped) when Kdenlive, Shotcut, Xvfb or xdotool are missing, and in CI (CI=true),
# where the editors' start-up and the pointer's pace would take minutes.
set -uo pipefail
[ "${CI:-}" = true ] && { echo "skipped in CI"; exit 77; }
build=$(realpath "$1")
out=$(realpath -m "$2")
for tool in kdenlive shotcut Xvfb xdotool dbus-daemon melt ffmpeg import compare; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is missing (scripts/deps --editors)"; exit 77; }
done
rm -rf "$out" && mkdir -p "$out"
tmp=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
  sleep 1
  for pid in "${pids[@]}"; do kill -9 "$pid" 2>/dev/null; done
  rm -rf "$tmp"
}
trap cleanup EXIT
failed=0
fail() { echo "FAIL: $*"; failed=1; }
shot() { import -window root "$out/$1.png"; }
click() { xdotool mousemove "$1" "$2" sleep 0.3 click 1; sleep "${3:-1}"; }
# Waits up to $2 seconds for a window whose name matches $1 and prints its id.
window() {
  for _ in $(seq "$2"); do
    id=$(xdotool search --name "$1" 2>/dev/null | tail -1)
    [ -n "$id" ] && { echo "$id"; return 0; }
    sleep 1
  done
  return 1
}

exec 3>"$tmp/display"
Xvfb -displayfd 3 -screen 0 1600x1000x24 >"$out/xvfb.log" 2>&1 &
pids+=($!)
for _ in $(seq 20); do [ -s "$tmp/display" ] && break; sleep 0.5; done
export DISPLAY=":$(head -1 "$tmp/display")"
export FREI0R_PATH="$build/frei0r-1" XDG_RUNTIME_DIR="$tmp/run"
mkdir -m 700 "$tmp/run"
# A session bus of its own for Kdenlive, ended with the rest.
dbus-daemon --session --fork --print-address=4 --print-pid=5 4>"$tmp/bus" 5>"$tmp/bus.pid"
pids+=("$(cat "$tmp/bus.pid")")
export DBUS_SESSION_BUS_ADDRESS="$(head -1 "$tmp/bus")"

# A lossless 1280x720 clip at 25 frames a second, the size of Kdenlive's 720p profile, so that
# melt and the command read the same pixels.
ffmpeg -v error -f lavfi -i testsrc2=size=1280x720:rate=25 -frames:v 50 -c:v ffv1 -pix_fmt rgba \
  "$tmp/clip.mkv" && ffmpeg -v error -i "$tmp/clip.mkv" -frames:v 1 "$tmp/in.png" || exit 1

echo "--- Kdenlive"
home="$tmp/kdenlive"
mkdir -p "$home/.config" "$home/data/kdenlive/effects"
cp "$build/frei0r-1/frei0r_mirrel.xml" "$home/data/kdenlive/effects/"
printf '[misc]\ncheckfirstprojectclip=false\n[unmanaged]\ndefault_profile=atsc_720p_25\n' \
  >"$home/.config/kdenliverc"
HOME="$home" XDG_DATA_HOME="$home/data" kdenlive -i "$tmp/clip.mkv" \
  >"$out/kdenlive.log" 2>&1 &
pids+=($!)
if main=$(window "Untitled" 90); then
  sleep 8
  xdotool windowmove "$main" 0 0 windowsize "$main" 1600 1000
  sleep 3
  shot kdenlive-start
  # The clip from the bin onto track V1, one second in.
  xdotool mousemove 60 105 sleep 0.3 mousedown 1 sleep 0.3 mousemove 100 200 sleep 0.3 \
    mousemove 150 500 sleep 0.3 mousemove 180 690 sleep 0.3 mousemove 178 688 sleep 0.5 mouseup 1
  sleep 3
  click 194 715           # select it in the timeline
  click 236 466 2         # the Effects tab
  click 200 76            # its search field
  xdotool type --delay 60 Mirrel
  sleep 2
  shot kdenlive-effect-list
  xdotool mousemove 75 117 click --repeat 2 --delay 80 1   # apply "Mirrel" to the clip
  sleep 4
  click 192 562 3         # the playhead onto the clip
  shot kdenlive-applied
  xdotool key ctrl+s
  sleep 3
  xdotool type --delay 20 "$tmp/defaults.kdenlive"
  xdotool key Return
  sleep 4
  if ! grep -q 'frei0r.mirrel' "$tmp/defaults.kdenlive" 2>/dev/null; then
    fail "Kdenlive saved no project with Mirrel applied (see kdenlive-*.png)"
  else
    cp "$tmp/defaults.kdenlive" "$out/"
    # The frames where the clip stands: after the blank before it on its track.
    blank=$(grep -o '<blank length="[0-9:.]*"' "$tmp/defaults.kdenlive" | tail -1 | grep -o '[0-9:.]*"' | tr -d '"')
    first=$(awk -F: -v t="${blank:-0:0:0}" 'BEGIN { split(t, a, ":"); printf "%d", (a[1] * 3600 + a[2] * 60 + a[3]) * 25 + 0.5 }')
    env -u DISPLAY melt "$tmp/defaults.kdenlive" in="$first" out="$first" \
      -consumer avformat:"$tmp/kd.png" vcodec=png pix_fmt=rgba real_time=-1 >>"$out/melt.log" 2>&1
    "$build/mirrel" render "$tmp/in.png" -o "$tmp/cli.png"
    cp "$tmp/kd.png" "$out/kdenlive-render.png" 2>/dev/null
    differ=$(compare -metric AE "$tmp/kd.png" "$tmp/cli.png" null: 2>&1)
    [ "$differ" = 0 ] || fail "melt's render of Kdenlive's project differs from the default look in $differ pixels"
    compare -metric AE "$tmp/kd.png" "$tmp/in.png" null: >/dev/null 2>&1 &&
      fail "the project rendered no reflection"
  fi
else
  fail "Kdenlive showed no window"
fi

echo "--- Shotcut"
filters=/usr/share/shotcut/qml/filters/mirrel
if [ ! -f "$filters/meta.qml" ]; then
  echo "Shotcut part skipped: $filters is not installed (install the package: cpack -G DEB)"
  [ $failed = 0 ] && exit 77
else
  HOME="$tmp/shotcut" shotcut --noupgrade "$tmp/clip.mkv" >"$out/shotcut.log" 2>&1 &
  pids+=($!)
  if main=$(window "Untitled - Shotcut" 90); then
    sleep 8
    xdotool windowmove "$main" 0 0 windowsize "$main" 1600 1000
    sleep 3
    grep -q 'added filter "Mirrel"' "$out/shotcut.log" || fail "Shotcut did not add the filter"
    click 102 708 2       # the Filters tab
    click 21 289 2        # its + button
    xdotool type --delay 50 Mirrel
    sleep 2
    shot shotcut-filter-list
    click 76 206 8        # apply "Mirrel"
    shot shotcut-panel
    grep -E 'mirrel/(ui|vui|meta)\.qml.*(rror|arning)' "$out/shotcut.log" && fail "Shotcut reported errors in Mirrel's QML"
  else
    fail "Shotcut showed no window"
  fi
fi
[ $failed = 0 ] && echo "1 passed, 0 failed" || echo "0 passed, 1 failed"
exit $failed
