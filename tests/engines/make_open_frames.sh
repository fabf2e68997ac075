#!/bin/sh
# What the tests of the open engines read: MPEG-2 intra pictures (NAME.m2v), and the planes of these
# and of the first frame of each DV clip in ffmpeg's own decode (NAME.planes).
# Usage: make_open_frames.sh FOLDER DV-FOLDER
set -eu
out=$1
mkdir -p "$out"

planes() { # NAME INPUT...
    name=$1
    shift
    ffmpeg -nostdin -v fatal -y -threads 1 -flags bitexact -idct simple "$@" -frames:v 1 \
        -f rawvideo "$out/$name.planes"
}

mpeg() { # NAME SIZE PIXELS OPTION...
    name=$1 size=$2 pixels=$3
    shift 3
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=r=25:s=$size" -frames:v 1 -pix_fmt "$pixels" \
        -c:v mpeg2video -g 1 -q:v 4 -threads 1 "$@" -f mpeg2video "$out/$name.m2v"
    planes "$name" -i "$out/$name.m2v"
}

mpeg small_420 98x66 yuv420p
mpeg small_420_interlaced 98x66 yuv420p -flags +ildct
mpeg production_625 720x608 yuv422p -flags +ildct -intra_vlc 1 -non_linear_quant 1 -qmax 28
for clip in "$2"/*.dv; do
    planes "$(basename "$clip" .dv)" -i "$clip"
done
