#!/usr/bin/env bash
# Renders the project's own test signal through a few settings and shows
# what each render did to it. Usage: scripts/demo.sh BUILD_DIR
set -euo pipefail
build=${1:-build/release}
render="$build/tools/fenwoldrine-render"
signal="$build/tools/fenwoldrine-testsignal"
out=demo-out
mkdir -p "$out"

step() { printf '\n== %s\n' "$*"; }

step "Test signal: a 6 s sweep, 20 Hz to 20 kHz, stereo 48 kHz 24-bit"
"$signal" generate "$out/sweep.wav" 6 2
"$signal" measure "$out/sweep.wav"

step "Master gain -6 dB: every channel 6 dB down"
"$render" --quiet --set "Gain=-6" "$out/sweep.wav" "$out/gain-6.wav"
"$signal" measure "$out/gain-6.wav"

step "Side muted (pair coded as mid and side): both channels carry the mid"
"$render" --quiet --set "MS State=8" --set "Channel 2 Mute=On" "$out/sweep.wav" "$out/mid-only.wav"
"$signal" measure "$out/mid-only.wav"

step "Linear-phase FIR mode: the renderer compensates its latency"
"$render" --quiet --set "Mode=FIR" --set "IRPhase=Linear" "$out/sweep.wav" "$out/fir-linear.wav"
"$signal" measure "$out/fir-linear.wav"

step "Right channel inverted and 3 dB down, written as 16-bit FLAC with dither"
"$render" --quiet --set "MS State=0" --set "Channel 2 Phase=Inv" --set "Channel 2 Level=-3" \
    --format flac --bits 16 "$out/sweep.wav" "$out/right-inverted.flac"
"$signal" measure "$out/right-inverted.flac"

step "A high shelf +3 dB at 8 kHz and a low cut"
"$render" --quiet --set "Band1 State=On" --set "Band1 Type=HSh" --set "Band1 Frequency=8k" --set "Band1 Gain=3" \
    --set "Band2 State=On" --set "Band2 Type=HPF" --set "Band2 Frequency=30" \
    "$out/sweep.wav" "$out/shelf.wav"
"$signal" measure "$out/shelf.wav"

step "Programme-like material through the factory preset \"Subtle smile\", the editor drawn after it"
"$signal" programme "$out/programme.wav" 6 2
"$render" --quiet --preset "$build/factory/Presets/Factory/07 Subtle smile.fwi" \
    --snapshot "$out/editor.png" "$out/programme.wav" "$out/smile.wav"
"$signal" measure "$out/smile.wav"
echo "editor: $out/editor.png (the curve over the spectrum the render left)"

step "Files are in $out/"
