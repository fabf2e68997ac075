#!/bin/sh
# Makes the MPEG-2 intra pictures that the tests of the open engines read. Usage: make_open_frames.sh FOLDER
set -eu
out=$1
mkdir -p "$out"

mpeg() { # NAME SIZE PIXELS OPTION...
    name=$1 size=$2 pixels=$3
    shift 3
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=r=25:s=$size" -frames:v 1 -pix_fmt "$pixels" \
        -c:v mpeg2video -g 1 -q:v 4 -threads 1 "$@" -f mpeg2video "$out/$name.m2v"
}

mpeg small_420 98x66 yuv420p
mpeg production_625 720x608 yuv422p -flags +ildct -intra_vlc 1 -non_linear_quant 1 -qmax 28
