#!/usr/bin/env bash
# make_clips.sh FOLDER: makes what the tests of nyxhost read, and ffmpeg's own reading of the same: FILE.md5 has the
# MD5 of every picture as YUY2, FILE.pcm the audio, NAME.FORMAT other pictures, bottom-up as in a sample.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
. "$root/scripts/footage.sh"
export LC_ALL=C.UTF-8
mkdir -p "$1"
cd "$1"

# Three frames without and with "INFO" chunks.
make_q210 bars 720 486 30000/1001 3 clip
add_info_chunks clip 720 486 30000/1001 info.avi 1,8,9 0,1,1 -1,0,0
make_q210 natural 48 16 1/1 222 long
# DV, whose frames have their own data.
quiet_ffmpeg -f lavfi -i "testsrc2=r=30000/1001:s=720x480" -f lavfi -i sine=r=48000 -t 0.2 -ac 2 \
    -pix_fmt yuv411p -c:v dvvideo -aspect 4:3 -timecode '01:02:03;04' \
    -metadata creation_time=2074-05-06T07:08:09Z tape.dv
quiet_ffmpeg -i tape.dv -c copy tape.mxf
quiet_ffmpeg -i tape.dv -c copy tape.avi
quiet_ffmpeg -i tape.dv -metadata creation_time=1975-12-31T23:59:58Z -c:v dvvideo -frames:v 1 old.dv
# A tape: two dropped numbers at the minute, damaged video blocks, then another recording.
quiet_ffmpeg -i tape.dv -timecode '01:02:59;27' -c:v dvvideo -aspect 16:9 reel.dv
cat old.dv >>reel.dv
for block in 1507 1524 3149; do # of 1500 a frame
    printf '\x2f' | dd of=reel.dv bs=1 seek=$((80 * block + 3)) conv=notrunc status=none
done
# What is refused.
quiet_ffmpeg -f lavfi -i sine -t 0.1 -f avi audio.avi
quiet_ffmpeg -f lavfi -i testsrc2 -t 0.2 -c:v mpeg4 mpeg4.avi
quiet_ffmpeg -f lavfi -i testsrc2=s=720x576:r=25 -t 1 -c:v mpeg2video group.mxf

# ffmpeg's conversions of v210, by way of 8 bits (psnr_against_ffmpeg).
while read -r kind width height formats; do
    make_q210 "$kind" "$width" "$height" 25/1 2 "$kind-$width"
    add_info_chunks "$kind-$width" "$width" "$height" 25/1 "$kind-$width.avi" 0,1,1
    scaler=flags=accurate_rnd+full_chroma_int+bilinear
    for format in $formats; do
        own=$(round_to_8_bits $scaler)
        [ "$format" = yuy2 ] ||
            own+=",scale=in_color_matrix=$(matrix_of "$width" "$height"):in_range=tv:out_range=pc:in_h_chr_pos=0:$scaler,format=gbrp"
        quiet_ffmpeg -f v210 -video_size "${width}x$height" -i "$kind-$width.v210" \
            -vf "$own,$(raw_orientation "$format")" -pix_fmt "$(raw_format "$format")" -f rawvideo "$kind-$width.$format"
    done
done <<'CLIPS'
natural   2   16 yuy2 rgb32
zoneplate 722 50 yuy2 rgb32 rgb24
CLIPS
rm ./*.v210

# Signals that the demonstration has not; the last two, no camera's, have chroma between the lines.
footage+=("DVCPROHD-720p60.mov 960x720 60000/1001 3 yuv422p dv s16le"
    "MPEG2-420.mxf 720x576 25/1 2 yuv420p mpeg s16le" "MPEG2-progressive.mxf 98x66 25/1 2 yuv420p film s16le")
decoding="-flags bitexact -idct simple"
for file in DV25-625.avi DV25-525.mov DVCPRO25-625.dv DVCPRO50-525.mxf DVCPRO50-625.dv DVCPROHD-1080i60.mov \
    DVCPROHD-1080i50.dif DVCPROHD-720p50.mxf DVCPROHD-720p60.mov D10-525.gxf MPEG2-1080.mxf MPEG2-420.mxf \
    MPEG2-progressive.mxf v210-720.avi; do
    for entry in "${footage[@]}"; do
        [[ $entry == "$file "* ]] || continue
        read -r _ size rate _ pixels coding sound_as <<<"$entry"
        make_footage . "$file" "$size" "$rate" 2 "$pixels" "$coding" "$sound_as"
        quiet_ffmpeg -threads 1 $decoding -i "$file" -map 0:v -vf "$(to_shown_422 "$file" "$size"),format=yuyv422" \
            -f framemd5 - | sed -n 's/^0,.*, *//p' >"$file.md5"
        [ "$sound_as" != mono ] || sound_as=s16le
        quiet_ffmpeg -i "$file" -map 0:a:0 -f "${sound_as/be/le}" "$file.pcm"
    done
done
quiet_ffmpeg -i DVCPRO50-525.mxf -map 0 -map 0:a -c copy two.mxf
quiet_ffmpeg -f lavfi -i "$(source_filter card 1920 1080 25)" -frames:v 2 -pix_fmt yuv422p -c:v mpeg2video -g 1 intra.m2v
