#!/usr/bin/env bash
# Makes what the shell's library is compared with: make_references.sh MATERIAL FOLDER. For each clip of MATERIAL and
# each size CLIP-SIZE.bgra, ffmpeg's decoding and scaling of one of its frames; in the files list and properties a line
# for each of these, and for what ffprobe says.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
. "$root/scripts/footage.sh"
material=$1
mkdir -p "$2"
cd "$2"

# The first two of ten frames are black.
quiet_ffmpeg -f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 10 -vf "drawbox=t=fill:c=black:enable=lt(n\,2)" \
    -pix_fmt yuv422p -c:v dvvideo -aspect 4:3 dark.mxf

# Sets `lines`: each size on the longer side, and the other side's. The largest is of two clips, to save space.
other_sides() { # CLIP ASPECT
    local sizes='16 96 256'
    [[ $1 != dvhd.mov && $1 != v210.avi ]] || sizes+=' 1024'
    lines=$(for size in $sizes; do awk -F : -v size=$size '{
        print size, $1 < $2 ? int(size * $1 / $2 + 0.5) "x" size : size "x" int(size * $2 / $1 + 0.5) }' <<<"$2"; done)
}
reference() { # FOLDER CLIP SIZE ASPECT FRAME
    local chain outputs=() scaled= n=0 size to
    other_sides "$2" "$4"
    chain="select=eq(n\,$5),$(as_decoded "$1/$2" "$3" rgb32)"
    while read -r size to; do
        echo "$2 $size $to" >>list
        scaled+=";[p$n]zscale=$to:filter=bilinear,format=bgr0[o$n]"
        outputs+=(-map "[o$n]" -frames:v 1 -f rawvideo "$2-$size.bgra")
        n=$((n + 1))
    done <<<"$lines"
    quiet_ffmpeg -i "$1/$2" -filter_complex "[0:v]$chain,split=$n$(printf '[p%d]' $(seq 0 $((n - 1))))$scaled" "${outputs[@]}"
}
of_streams() { # CLIP KIND ENTRIES: what ffprobe has for streams of a kind, v or a, a line each
    ffprobe -loglevel fatal -select_streams "$2" -show_entries "stream=$3" -of csv=p=0 "$1"
}
# Numbers that ffprobe has, each after its name. In two clips it counts two ticks a frame.
properties() { # FILE CLIP SIZE
    local ticks=1
    [[ $2 != d10.gxf && $2 != tagged.avi ]] || ticks=2
    {
        ffprobe -loglevel error -show_entries format=duration,bit_rate -of csv=p=0 "$1" |
            awk -F , '$1 + 0 > 0 { printf "duration %.0f\nbitrate %d\n", $1 * 10000000, $2 }'
        awk -F '[x/ ]' -v ticks=$ticks '{ printf "width %d\nheight %d\nrate %d\n", $1, $2, int(1000 * $3 / $4 / ticks + 0.5) }' \
            <<<"$3 $(of_streams "$1" v r_frame_rate | head -n 1)"
        of_streams "$1" a channels,sample_rate,bits_per_sample | awk -F , '/,/ { samples = $1; channels += $2; bits = $3 }
            END { if (channels) printf "channels %d\nsamples %d\nbits %d\n", channels, samples, bits }'
    } | sed "s/^/$2 /" >>properties
}

rm -f list properties
LC_ALL=C sed s/Q210/v210/g "$material/tagged.avi" >tagged.avi # ffmpeg does not know our code
while read -r clip size aspect frame; do
    [ $clip = tagged.avi ] && from=. || from=$material
    reference "$from" $clip $size $aspect $frame
    properties "$from/$clip" $clip $size
done <<'CLIPS'
dv25.avi   720x576   16:9 5
dv25.mov   720x480   4:3  6
dv25.dv    720x576   4:3  5
type1.avi  720x576   4:3  5
dv50.mov   720x576   4:3  2
dv50.mxf   720x480   4:3  3
atom.mxf   720x576   4:3  2
dvhd.mov   1280x1080 16:9 1
dvhd.mxf   960x720   16:9 2
d10.mxf    720x576   4:3  2
d10.gxf    720x486   4:3  0
mpeg.gxf   720x576   4:3  5
mpeg.mxf   720x576   4:3  2
mpeg.m2v   720x486   16:9 2
mpeg.mpg   720x576   4:3  2
mpeg.ts    720x576   4:3  2
v210.mov   192x64    3:1  4
v210.avi   210x1800  7:60 1
tagged.avi 96x64     3:2  2
CLIPS
reference . dark.mxf 720x576 4:3 2
