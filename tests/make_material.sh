#!/usr/bin/env bash
# make_material.sh FOLDER: makes what the tests read, with ffmpeg, unless FOLDER has it as these scripts make it.
set -euo pipefail
out=$(realpath -m "$1")
cd "$(dirname "$0")"
made=$(cat make_material.sh */make_*.sh ../scripts/{card,clips,footage}.sh | sha256sum)
[ "$(cat "$out/made" 2>/dev/null)" != "$made" ] || exit 0
rm -rf "$out"
mkdir -p "$out"
source/make_material.sh "$out/source" &
sources=$!
nyxhost/make_clips.sh "$out/nyxhost"
dv/make_dv_frames.sh "$out/dv"
engines/make_open_frames.sh "$out/open" "$out/dv"
wait $sources
shell/make_references.sh "$out/source" "$out/shell"
echo "$made" >"$out/made"
