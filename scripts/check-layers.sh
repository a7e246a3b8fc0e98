#!/usr/bin/env bash
# Calls run one way: a source file may include the project's headers only
# from its own folder or from a layer below its own. Prints every include
# that runs upward or sideways and fails if there is one.
#
#   resources/                      0
#   effect/  dsp/  state/           1   (beside each other: none includes another)
#   core/                           2
#   session/                        3
#   gui/toolkit/ (+ platform/)      4
#   gui/editor/                     5
#   formats/  tools/                6   (beside each other)
#
# tests/ and bench/ stand outside the layers: they may reach any of them.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

# The layer of a path, and the folder that counts as "its own".
layer_of() {
    case "$1" in
        resources/*) echo "0 resources" ;;
        effect/*) echo "1 effect" ;;
        dsp/*) echo "1 dsp" ;;
        state/*) echo "1 state" ;;
        core/*) echo "2 core" ;;
        session/*) echo "3 session" ;;
        gui/toolkit/*) echo "4 gui/toolkit" ;;
        gui/editor/*) echo "5 gui/editor" ;;
        formats/*) echo "6 formats" ;;
        tools/*) echo "6 tools" ;;
        *) echo "" ;;
    esac
}

bad=0
checked=0
while IFS= read -r file; do
    [ -f "$file" ] || continue
    read -r rank own <<<"$(layer_of "$file")" || true
    [ -n "${rank:-}" ] || continue
    checked=$((checked + 1))
    while IFS= read -r line; do
        target="${line#*\"}"
        target="${target%%\"*}"
        [ -e "$target" ] || continue  # a header of the same folder, named without its path
        read -r trank town <<<"$(layer_of "$target")" || true
        [ -n "${trank:-}" ] || continue
        [ "$town" = "$own" ] && continue
        if [ "$trank" -ge "$rank" ]; then
            echo "$file includes $target: $own (layer $rank) may not reach $town (layer $trank)"
            bad=$((bad + 1))
        fi
    done < <(grep -E '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$file" || true)
done < <(git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp' '*.c' 2>/dev/null ||
         find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print | sed 's#^\./##')

if [ "$bad" -gt 0 ]; then
    echo "layers: $bad include(s) run against the layers"
    exit 1
fi
echo "layers: $checked files, every include runs downward"
