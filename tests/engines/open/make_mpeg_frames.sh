#!/bin/sh
# One intra picture each of MPEG-2, as ffmpeg codes it. Usage: make_mpeg_frames.sh FOLDER
set -eu
out=$1
mkdir -p "$out"

frame() { # NAME SIZE PIXELS OPTION...
    name=$1 size=$2 pixels=$3
    shift 3
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=r=25:s=$size" -frames:v 1 -pix_fmt "$pixels" \
        -c:v mpeg2video -g 1 -q:v 4 -threads 1 "$@" -f mpeg2video "$out/$name.m2v"
}

frame small 96x64 yuv422p
frame small_420 96x64 yuv420p
frame small_interlaced 96x64 yuv422p -flags +ildct
frame production_625 720x608 yuv422p -flags +ildct -intra_vlc 1 -non_linear_quant 1 -qmax 28
