#!/usr/bin/env bash
# The editor inside a real LV2 host: jalv.gtk3 with the stereo plug-in, on a
# private JACK server with a dummy driver, in the display this runs in
# (xvfb-run gives one). The host must still be up after a few seconds with
# our UI chosen, and a picture of the screen is kept beside the build.
# Usage: jalv-smoke.sh BUNDLE_PARENT SCREENSHOT.png
set -u
bundle_parent=$1
shot=$2
for tool in jalv.gtk3 jackd xwd xwdtopnm pnmtopng; do
  command -v "$tool" >/dev/null || { echo "missing $tool (make deps installs it)"; exit 1; }
done
work=$(mktemp -d)
jalv= jack=
trap 'kill $jalv $jack 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT
# Stopped from outside (a timeout, a run cut short), the servers still go:
# a JACK server left behind keeps its place in the machine's registry.
trap 'exit 1' INT TERM HUP
export HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export LV2_PATH=$bundle_parent
server=fw-smoke-$$
export JACK_DEFAULT_SERVER=$server
jackd -n "$server" -d dummy -r 48000 -p 1024 > "$work/jackd.log" 2>&1 &
jack=$!
sleep 2
jalv.gtk3 urn:kestrawn:fenwoldrine:stereo > "$work/jalv.log" 2>&1 &
jalv=$!
sleep 6
if ! kill -0 $jalv 2>/dev/null; then
  echo "jalv.gtk3 ended early:"; cat "$work/jalv.log" "$work/jackd.log"; exit 1
fi
if ! grep -q "UI: *urn:kestrawn:fenwoldrine:ui" "$work/jalv.log"; then
  echo "jalv.gtk3 did not choose the editor:"; grep -v " = " "$work/jalv.log"; exit 1
fi
if grep -q "^Fenwoldrine:" "$work/jalv.log"; then
  echo "the editor refused to open:"; grep "^Fenwoldrine:" "$work/jalv.log"; exit 1
fi
mkdir -p "$(dirname "$shot")"
xwd -root -silent | xwdtopnm 2>/dev/null > "$work/screen.pnm"
pnmtopng < "$work/screen.pnm" > "$shot" || { echo "no screenshot"; exit 1; }
# The editor is on the screen: its logo's amber mark is there.
python3 - "$work/screen.pnm" <<'PY' || exit 1
import sys
data = open(sys.argv[1], 'rb').read()
fields, pos = [], 0
while len(fields) < 4:
    while data[pos:pos + 1].isspace(): pos += 1
    if data[pos:pos + 1] == b'#':
        pos = data.index(b'\n', pos)
        continue
    start = pos
    while not data[pos:pos + 1].isspace(): pos += 1
    fields.append(data[start:pos])
pixels = data[pos + 1:]
# Samples of one or two bytes (big-endian): the first byte is the top eight bits.
size = 2 if int(fields[3]) > 255 else 1
step = 3 * size
amber = sum(1 for i in range(0, len(pixels) - step + 1, step)
            if pixels[i] > 200 and 120 < pixels[i + size] < 200 and pixels[i + 2 * size] < 110)
if amber < 40:
    sys.exit("the editor is not on the screen (%d amber pixels)" % amber)
PY
echo "jalv.gtk3 is up with the editor; screen in $shot"
