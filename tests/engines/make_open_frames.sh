#!/bin/sh
# Makes what the tests of the open engines read: of every clip NAME of DV_FOLDER and of MPEG-2 intra pictures the
# first frame, NAME-1.frame, and of those of tests/soak also NAME-2.frame and NAME-3.frame.
# Usage: make_open_frames.sh FOLDER DV_FOLDER
set -eu
out=$1
mkdir -p "$out"

frames() { # CLIP
    name=${1##*/}
    name=$out/${name%.*} count=1
    case $name in */dv25_525_4x3 | */dvcpro50_525 | */dvcprohd_720_50 | */production_625) count=3 ;; esac
    ffmpeg -nostdin -v error -y -i "$1" -frames:v $count -c copy -f image2 "$name-%d.frame"
}

mpeg() { # NAME SIZE PIXELS OPTION...
    name=$1 size=$2 pixels=$3
    shift 3
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=r=25:s=$size" -frames:v 3 -pix_fmt "$pixels" \
        -c:v mpeg2video -g 1 -q:v 4 -threads 1 "$@" -f mpeg2video "$out/$name.m2v"
    frames "$out/$name.m2v"
}

mpeg progressive_420 98x66 yuv420p
mpeg interlaced_420 98x66 yuv420p -flags +ildct
mpeg production_625 720x608 yuv422p -flags +ildct -intra_vlc 1 -non_linear_quant 1 -qmax 28
for clip in "$2"/*.dv; do
    frames "$clip"
done
