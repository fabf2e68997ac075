# What the decoder finds in each frame, through VIDEOINFOHEADER2 and the samples' flags.
row() { # INDEX BYTES ORDER FLAGS ASPECT FIELD1: a row of the table, whatever its spaces
    checks=$((checks + 1))
    tr -s ' ' <<<"$said" | grep -qE "^ ?$1 $2 (yes|no) $3 $4 $5 $6( new type)? ?\$" ||
        fail "$last: no row '$*' in: $said"
}
# Without chunks the tables of sizes and rates decide; with them each frame tells.
run 0 info clip.avi
row 2 933120 "top first" 0xA5 4:3 set
run 0 info info.avi
row 0 933156 "bottom first" 0xA1 320:243 clear
row 1 933156 "top first" 0xA5 40:27 set
row 2 933144 "top first" 0xA5 0:0 set
run 0 info info.avi --json --frames 2
says '"interlace_flags": 161'
says '"type_changed": true'

# DV as people have it: raw files and AVIs of ffmpeg, described frame by frame and played. The pictures
# are the stand-in engine's here.
use_engines
"$root/tests/dv/make_dv_frames.sh" dv
describes() { # CLIP FOURCC WORDS...: of the file and of one of its frames
    run 0 info "dv/$1.dv"
    says "dv/$1.dv: $2, "
    for words in "${@:3}"; do
        says "$words"
    done
}
describes dv25_525_4x3 QDVC "720x480, 24 bits" "5 frames" "bottom field first, 4:3 (pixels 648:720)" \
    "2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked" "recorded 2004-05-06 07:08:09" \
    "timecode 01:02:03;08"
describes dvcpro50_625 QDV5 "625/50, 720x576, 25, bottom field first, 16:9 (pixels 1024:720)" "4 channels"
describes dvcprohd_720_60 QDVH "11 frames" "720p, 525/60, 960x720, 60000/1001, progressive"
run 0 info dv/dv25_625_silent.dv --json --frames 1
says '"timecode": "01:02:03:04"'

# The same frames in ffmpeg's AVI, under the codes that it writes, give the same pictures.
for clip in dv25_525_16x9:dvsd dvcprohd_1080_60:dvh1; do
    name=${clip%:*}
    quiet_ffmpeg -i "dv/$name.dv" -map 0:v -c copy -tag:v "${clip#*:}" "$name.avi"
    run 0 decode "dv/$name.dv" --format yuy2 --raw raw.samples
    run 0 decode "$name.avi" --format yuy2 --raw avi.samples
    holds "$name: raw file and AVI give the same pictures" cmp -s raw.samples avi.samples
done

# A frame that lost a block comes short and fails, the next ones are found; the last is cut.
{
    head -c 244800 dv/dv25_525_4x3.dv
    head -c 544800 dv/dv25_525_4x3.dv | tail -c +244881
} >damaged.dv
run 6 info damaged.dv
says "frame 2 could not be decoded"
says "frame 4 could not be decoded"
says "timecode 01:02:03;07"
use_no_engines
