#!/usr/bin/env bash
# The Debian package holds the command, the frei0r plug-in and the editors' files where those
# programs look, and depends on the libraries the command links.   package_test.sh BUILD
set -euo pipefail
command -v dpkg-deb >/dev/null && command -v dpkg-shlibdeps >/dev/null ||
  { echo "skipped: dpkg-deb or dpkg-shlibdeps is missing"; exit 77; }
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
(cd "$1" && cpack -G DEB -B "$tmp" >"$tmp/cpack.log" 2>&1) || { cat "$tmp/cpack.log"; exit 1; }
deb=$(ls "$tmp"/mirrel_*.deb)
listing=$(dpkg-deb -c "$deb" | awk '{ print $6 }')
failed=0
for f in ./usr/bin/mirrel ./usr/lib/frei0r-1/mirrel.so ./usr/share/kdenlive/effects/frei0r_mirrel.xml \
  ./usr/share/shotcut/qml/filters/mirrel/{meta.qml,ui.qml,vui.qml,mirrel.js}; do
  grep -qxF "$f" <<<"$listing" || { echo "missing from the package: $f"; failed=1; }
done
dpkg-deb -f "$deb" Depends | grep -q libopenimageio || { echo "no dependency on OpenImageIO"; failed=1; }
[ $failed = 0 ] && echo "1 passed, 0 failed" || { echo "$listing"; echo "0 passed, 1 failed"; }
exit $failed
