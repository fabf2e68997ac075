#!/usr/bin/env bash
# Makes clips of every kind that the source filter reads, and ffmpeg's own reading of them:
# make_material.sh FOLDER. CLIP.video has a line for each packet: its start, in 100-ns units from the
# first one, its size in bytes and its Adler-32; CLIP.audio has all samples as delivered.
set -euo pipefail
mkdir -p "$1"
cd "$1"

run() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

list() { # CLIP PCM
    run -i "$1" -map 0:v -c copy -f framecrc "$1.crc"
    # "#tb 0: NUM/DEN", then "stream, dts, pts, duration, size, checksum" a packet.
    awk -F '[:,/] *' '/^#tb/ { num = $2; den = $3 } /^0,/ && $5 > 0 {
        if (first == "") first = $2
        print int(($2 - first) * num * 10000000 / den), $5, $6 }' "$1.crc" >"$1.video"
    rm "$1.crc"
    [ "$2" = none ] || run -i "$1" -map 0:a:0 -c:a "pcm_$2" -f "$2" "$1.audio"
}

# A small moving picture on black, which packs well.
# clip FILE SIZE RATE SECONDS PIXELS CHANNELS STORED-PCM DELIVERED-PCM ENCODER-OPTION...
clip() {
    local audio=()
    [ "$7" = none ] || audio=(-f lavfi -i "aevalsrc=exprs=$(tones "$6"):s=48000" -c:a "pcm_$7")
    run -f lavfi -i "testsrc2=size=64x64:rate=$3,pad=${2/x/:}" "${audio[@]}" -t "$4" -pix_fmt "$5" -threads 1 "${@:9}" "$1"
    list "$1" "$8"
}

# Rising ramps, which pack better than other tones. Their length is a prime.
tones() { # CHANNELS
    local i
    for ((i = 1; i <= $1; i++)); do printf "%smod(%d*n\,1009)/2018" "${separator:-}" $((7 * i)) && separator='|'; done
}

dv=(-c:v dvvideo -field_order bb -aspect 4:3)
hd=(-c:v dvvideo -aspect 16:9)
intra=(-c:v mpeg2video -g 1 -flags +ildct -top 1 -intra_vlc 1 -aspect 4:3)
d10=(-vf pad=720:608:0:32 "${intra[@]}" -threads 4 -flags +ildct+low_delay -dc 10 -ps 1 -qmin 1 -qmax 12
    -non_linear_quant 1 -b:v 50000k -minrate 50000k -maxrate 50000k -bufsize 2000000 -rc_init_occupancy 2000000)
ntsc=30000/1001
clip dv25.avi 720x576 25 2 yuv420p 2 alaw s16le "${hd[@]}"
LC_ALL=C sed -i s/vprp/JUNK/ dv25.avi # only the frames have the aspect then
clip dv25.mov 720x480 $ntsc 2 yuv411p 2 f32be f32le "${dv[@]}"
clip dv25.dv 720x576 25 2 yuv420p 2 s16le s16le "${dv[@]}"
# The same with audio of another rate, and in the other system.
# The same counted by ffmpeg, across a minute that drops numbers: in each frame, and in containers.
tc=(-t 1 -map 0:v -c copy -timecode "00:00:59;20")
run -i dv25.mov "${tc[@]}" tc.dv
run -i tc.dv -c copy -map_metadata -1 tc.avi
run -i tc.dv -c copy -map_metadata -1 -write_tmcd 0 frames.mov
run -i dv25.mov "${tc[@]}" -metadata:s:v reel_name=R1 -metadata title=T1 tc.mov
run -i dv25.mov "${tc[@]}" -metadata reel_name=R1 -metadata material_package_name=T1 tc.mxf
run -i dv25.mov "${tc[@]}" tc.gxf
run -i dv25.dv -t 0.6 -c:v copy -ar 32000 dv32.dv
run -i dv25.mov -t 1.001 -c:v copy -c:a pcm_s16le dv525.dv
list dv32.dv s16le
# Its bytes as four channels of 12 bits: the size of samples in each frame's first source pack.
cp dv32.dv four.dv
for ((at = 4327; at < 15 * 144000; at += 144000)); do printf '\21' | dd of=four.dv bs=1 seek=$at conv=notrunc status=none; done
run -i four.dv -map 0:a:0 -f s16le four.1 -map 0:a:1 -f s16le four.2
list dv525.dv s16le
# Of type 1: the stream carries its own audio, without PCM beside it.
run -i dv25.dv -map 0:v -c copy -tag:v dvsd type1.avi
LC_ALL=C sed -i '0,/vids/s//iavs/' type1.avi
list type1.avi s16le
clip dv50.mov 720x576 25 1 yuv422p 6 s24be s24le "${dv[@]}"
clip dv50.mxf 720x480 $ntsc 1 yuv422p 1 s24le s24le "${dv[@]}"
run -i dv50.mov -map 0:v -c copy -f mxf_opatom atom.mxf
list atom.mxf none
clip dvhd.mov 1280x1080 $ntsc 0.4 yuv422p 1 f64be f64le "${hd[@]}" -field_order tt
clip dvhd.mxf 960x720 50 0.4 yuv422p 2 s16le s16le "${hd[@]}"
clip d10.mxf 720x576 25 1 yuv422p 2 s16le s16le "${d10[@]}" -f mxf_d10
clip d10.gxf 720x512 $ntsc 0.1 yuv422p 1 none none "${intra[@]}" -b:v 50000k
clip mpeg.gxf 720x576 25 2 yuv422p 1 s16le s16le "${intra[@]}" -b:v 8000k
clip v210.mov 192x64 24 2 yuv422p10le 1 s8 s16le -c:v v210
# Frames of more than a MiB, whose payloads are deferred, and more than 2^31 bits a second.
clip v210.avi 210x1800 240 0.0625 yuv422p10le 1 u8 s16le -c:v v210
clip tagged.avi 96x64 25 1 yuv422p10le 1 none none -c:v v210 -bsf:v setts=time_base=1/50 # two ticks a frame
LC_ALL=C sed -i s/v210/Q210/g tagged.avi
clip mpeg.mxf 720x576 25 1 yuv422p 1 s16le s16le "${intra[@]}" -q:v 3
clip mpeg.m2v 720x512 25 1 yuv422p 1 none none "${intra[@]}" -aspect 16:9
clip mpeg.mpg 720x576 25 1 yuv422p 1 none none "${intra[@]}" -b:v 8000k -f vob
clip mpeg.ts 720x576 25 1 yuv422p 1 none none "${intra[@]}" -b:v 8000k
# A stream that begins half a second later, and one that is unsupported.
run -itsoffset 0.5 -i dv50.mov -i dv25.avi -map 0:v -map 1:a -map 1:a -c copy -c:a:0 pcm_mulaw -c:a:1 aac late.mov
list late.mov s16le
# Five mono tracks, of which one begins half a second late, and the same as ffmpeg joins them.
mono=() join='join=2:stereo:map=0.0-FL|1.0-FR'
for i in 1 2 3 4 5; do
    mono+=(-itsoffset "$([ $i = 4 ] && echo 0.5 || echo 0)" -f lavfi -i "sine=${i}00:d=$([ $i = 4 ] && echo 0.5 || echo 1):r=48000")
done
run -i dv50.mov "${mono[@]}" -map 0:v -map 1 -map 2 -map 3 -map 4 -map 5 -c:v copy -c:a pcm_s24be mono.mov
# The same as a clip in OP-Atom: without random numbers, all files name one package.
mkdir -p atom
run -i dv50.mov -map 0:v -c copy -fflags +bitexact -f mxf_opatom atom/picture.mxf
for i in 0 1 2; do
    run -i mono.mov -map 0:a:$i -c:a pcm_s24le -mxf_audio_edit_rate 25 $([ $i = 2 ] || echo -fflags +bitexact) \
        -f mxf_opatom atom/$i.mxf
done
run -i mono.mov -filter_complex "[0:a:0][0:a:1]$join[a];[0:a:3]adelay=500[late];[0:a:2][late]$join[b]" \
    -map '[a]' -c:a pcm_s24le -f s24le mono.1 -map '[b]' -c:a pcm_s24le -f s24le mono.2 \
    -map 0:a:4 -c:a pcm_s24le -f s24le mono.3
# The first picture twice, the second time without bytes.
run -i dv25.avi -c copy -bsf:v "setts=ts=TS+gt(N\\,0)" gap.avi
run -f lavfi -i testsrc2=size=48x16 -t 1 -pix_fmt yuv422p10le -c:v v210 \
    -movflags frag_keyframe+empty_moov+default_base_moof+skip_trailer fragments.mov
list fragments.mov none
run -i fragments.mov -map 0:v -c copy -f data fragments.bytes
# Refused files.
for kind in mxf mpg ts; do
    run -f lavfi -i testsrc2=size=320x240 -t 1 -pix_fmt yuv422p -g 12 -c:v mpeg2video long.$kind
done
for kind in avi mov; do
    run -f lavfi -i testsrc2=size=320x240 -t 1 -c:v mpeg4 other.$kind
done
