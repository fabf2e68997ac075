#!/bin/sh
# Makes the DV clips that the tests of this folder read: every variant and system, by ffmpeg's
# encoder and muxer. Usage: make_dv_frames.sh FOLDER
set -eu
out=$1
mkdir -p "$out"

# clip NAME SIZE ASPECT PIXELS RATE AUDIO_OPTIONS...: a moving picture, a tone, timecode 01:02:03:04
# (a trailing 'd' on RATE asks for drop-frame) and the recording time of 2004-05-06 07:08:09. One
# thread keeps the two frames of a 720-line pair in turn.
clip() {
    name=$1 size=$2 aspect=$3 pixels=$4 rate=${5%d} timecode=01:02:03:04
    [ "$rate" = "$5" ] || timecode='01:02:03;04'
    shift 5
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=r=$rate:s=640x480" \
        -f lavfi -i "sine=f=440:r=48000" -t 0.12 -vf "scale=$size,setdar=$aspect" \
        -threads 1 -c:v dvvideo -pix_fmt "$pixels" "$@" \
        -timecode "$timecode" -metadata creation_time=2004-05-06T07:08:09Z -f dv "$out/$name.dv"
}

stereo="-map 0:v -map 1:a -ac 2 -ar 48000"
# The muxer counts two audio frames for each 720-line pair.
paired="$stereo -af asetpts=PTS/2"

# shellcheck disable=SC2086
{
    clip dv25_525_4x3 720:480 4/3 yuv411p 30000/1001d $stereo
    clip dv25_525_16x9 720:480 16/9 yuv411p 30000/1001 $stereo
    clip dv25_625_4x3 720:576 4/3 yuv420p 25 $stereo
    clip dv25_625_16x9 720:576 16/9 yuv420p 25 $stereo
    clip dv25_625_silent 720:576 4/3 yuv420p 25 -map 0:v
    clip dvcpro25_625 720:576 4/3 yuv411p 25 $stereo
    clip dvcpro50_525 720:480 4/3 yuv422p 30000/1001 $stereo
    clip dvcpro50_625 720:576 16/9 yuv422p 25 $stereo -map 1:a
    clip dvcprohd_1080_60 1280:1080 16/9 yuv422p 30000/1001 $stereo
    clip dvcprohd_1080_50 1440:1080 16/9 yuv422p 25 $stereo
    clip dvcprohd_720_60 960:720 16/9 yuv422p 60000/1001 $paired
    clip dvcprohd_720_50 960:720 16/9 yuv422p 50 $paired
}
