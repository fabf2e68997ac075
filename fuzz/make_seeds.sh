#!/bin/sh
# Makes what the fuzzers start from: real frames, cut to what a fuzzer gets through quickly, one
# folder for each fuzzer. Needs ffmpeg. Usage: make_seeds.sh FOLDER
set -eu
out=$1
here=$(dirname "$0")
for fuzzer in dif_parser q210 convert source; do
    mkdir -p "$out/fuzz_$fuzzer"
done

picture() { # SIZE PIXELS CODEC FILE
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=s=$1:r=25" -frames:v 1 -pix_fmt "$2" \
        -c:v "$3" -f rawvideo "$4"
}
picture 48x4 yuv422p10le v210 "$out/fuzz_q210/v210"
picture 96x2 yuv422p10le v210 "$out/fuzz_q210/v210_wide"
picture 32x4 yuyv422 rawvideo "$out/fuzz_convert/yuy2"
picture 32x4 bgra rawvideo "$out/fuzz_convert/bgra"
picture 16x4 rgb48le rawvideo "$out/fuzz_convert/rgb48"

# A container with its four words, a field code and two more words, in front of a frame.
{
    printf 'INFO\060\0\0\0\001\0\0\0\002\0\0\0\013\0\0\0\012\0\0\0'
    printf 'FIEL\004\0\0\0\001\0\0\0RDRT\010\0\0\0\003\0\0\0\004\0\0\0'
    cat "$out/fuzz_q210/v210"
} >"$out/fuzz_q210/info"

# The headers, subcode and auxiliary blocks of two sequences of each variant: the parser looks at
# no picture block.
"$here/../tests/dv/make_dv_frames.sh" "$out/dv"
for clip in "$out"/dv/*.dv; do
    head -c 24000 "$clip" >"$out/fuzz_dif_parser/$(basename "$clip" .dv)"
done
rm -r "$out/dv"

# Containers, a few frames each. The last sixteen bytes steer: no failing allocation, two places to
# seek to.
container() { # FILE SIZE CODEC PIXELS FRAMES OPTION...
    file=$out/fuzz_source/$1 size=$2 codec=$3 pixels=$4 frames=$5
    shift 5
    ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=s=$size:r=25" -f lavfi -i anoisesrc=r=48000 \
        -t "$(echo "$frames" | awk '{ print $1 / 25 }')" -pix_fmt "$pixels" -c:v "$codec" -g 1 -q:v 31 \
        -c:a pcm_s16le "$@" "$file"
    printf '\0\0\0\0\200\032\006\0\0\010\0\0\0\0\0\0' >>"$file"
}
container v210.mov 48x16 v210 yuv422p10le 3
container v210.avi 48x16 v210 yuv422p10le 3
container mono.mov 48x16 v210 yuv422p10le 3 -map 0 -map 1 -map 1 -ac 1
container fragments.mov 48x16 v210 yuv422p10le 60 -an -movflags frag_keyframe+empty_moov
# A track whose number fits no signed one; each fragment once cost the library half a second.
LC_ALL=C sed 's/\(tkhd.\{12\}\|trex.\{4\}\|tfhd.\{4\}\)\x00\x00\x00\x01/\1\xff\xff\xff\xf0/g' \
    "$out/fuzz_source/fragments.mov" >"$out/fuzz_source/unnumbered.mov"
container dv.avi 720x576 dvvideo yuv420p 1 -ac 2
container dv.dv 720x576 dvvideo yuv420p 2 -ac 2
container mpeg.gxf 720x576 mpeg2video yuv422p 2
container mpeg.mxf 64x48 mpeg2video yuv422p 18
container mpeg.ts 64x48 mpeg2video yuv422p 3 -an
container mpeg.mpg 64x48 mpeg2video yuv422p 3 -an -f vob
container mpeg.m2v 64x48 mpeg2video yuv422p 18 -an
# The same files, whose last four bytes steer: the size of the picture, and no bad place.
mkdir "$out/fuzz_thumbnail"
for file in "$out"/fuzz_source/*; do
    { head -c -16 "$file" && printf '\100\0\0\0'; } >"$out/fuzz_thumbnail/${file##*/}"
done
