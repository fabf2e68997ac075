# The open engines through the whole module: real frames of every kind against ffmpeg's own decode.
# Asked to be exact, both use the same inverse transform: luma and 4:2:2 chroma are equal to the last
# bit. Where chroma has another resolution, or the output is RGB, ffmpeg's scaler is the other side; it
# filters and rounds differently.
engines=$engines/../open use_engines
export NYX_OPEN_ENGINES=exact
exact=(-flags bitexact -idct simple)
chroma_bound=38 # dB
rgb_bound=42

samples_equal() { # PIXELS FILTER INPUT...: the samples of $width x $height, and ffmpeg's own
    local pixels=$1 filter=$2
    shift 2
    quiet_ffmpeg -f rawvideo -pixel_format yuyv422 -video_size "$size" -i samples \
        -vf "$pixels" -f rawvideo ours
    quiet_ffmpeg -loglevel fatal "${exact[@]}" "$@" -vf "$filter,$pixels" -f rawvideo theirs
    cmp -s ours theirs
}

psnr_of() { # OWN-FORMAT OWN-FILTER THEIR-FILTER INPUT...
    local format=$1 own=$2 their=$3
    shift 3
    ffmpeg -nostdin -hide_banner -r 25 -f rawvideo -pixel_format "$format" -video_size "$size" \
        -i samples "${exact[@]}" -r 25 "$@" -lavfi "[0]$own[a];[1]$their[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n "s/.*PSNR.* $component:\([^ ]*\) .*/\1/p"
}

# plays NAME CLIP FRAMES PIXELS THEIR-FILTER INPUT...: a clip of $size as YUY2 and as RGB.
plays() {
    local name=$1 clip=$2 frames=$3 pixels=$4 filter=$5 component matrix interlaced=0
    shift 5
    [ "$pixels" != yuv420p ] || interlaced=1
    matrix=$(matrix_of "${size%x*}" "${size#*x}")
    run 0 decode "$clip" --format yuy2 --raw samples
    holds "$name: all frames" test "$(stat -c %s samples)" = $((${size%x*} * ${size#*x} * 2 * frames))
    holds "$name: luma is equal" samples_equal extractplanes=y "$filter" "$@"
    if [ "$pixels" = yuv422p ]; then
        holds "$name: chroma is equal" samples_equal format=yuyv422 "$filter" "$@"
    else
        for component in u v; do
            at_least $chroma_bound "$(psnr_of yuyv422 format=yuv422p \
                "$filter,scale=flags=bilinear+accurate_rnd:in_h_chr_pos=0:out_h_chr_pos=0:interl=1,format=yuv422p" \
                "$@")" "$name: $component"
        done
    fi
    component=average
    run 0 decode "$clip" --format rgb24 --raw samples
    at_least $rgb_bound "$(psnr_of bgr24 vflip,format=gbrp \
        "$filter,scale=flags=bilinear+accurate_rnd+full_chroma_int:in_color_matrix=$matrix:in_range=tv:out_range=pc:in_h_chr_pos=0:interl=$interlaced,format=gbrp" \
        "$@")" "$name as RGB"
}

dv() { # NAME SIZE RATE PIXELS
    local size=$2
    make_dv natural "${2%x*}" "${2#*x}" "$3" 2 "$4" "open-$1.dv"
    plays "$1" "open-$1.dv" 2 "$4" null -threads 1 -i "open-$1.dv"
}
dv DV25-525 720x480 30000/1001 yuv411p
dv DV25-625 720x576 25/1 yuv420p
dv DVCPRO25-625 720x576 25/1 yuv411p
dv DVCPRO50-525 720x480 30000/1001 yuv422p
dv DVCPRO50-625 720x576 25/1 yuv422p
dv DVCPROHD-1080i60 1280x1080 30000/1001 yuv422p
dv DVCPROHD-1080i50 1440x1080 25/1 yuv422p
dv DVCPROHD-720p60 960x720 60000/1001 yuv422p
dv DVCPROHD-720p50 960x720 50/1 yuv422p

mpeg() { # SIZE CODED-HEIGHT RATE [ENCODER-OPTION...]
    local size=$1 coded=$2 rate=$3 name=mpeg-$1-$2
    local width=${1%x*} height=${1#*x}
    shift 3
    make_mpeg_intra natural "$width" "$height" "$coded" "$rate" 2 "$name.avi" "$@"
    plays "MPEG-2 $size of $coded lines" "$name.avi" 2 yuv422p \
        "crop=$width:$height:0:$((coded - height))" -i "$name.avi.m2v"
}
mpeg 720x576 608 25/1 -flags +ildct -intra_vlc 1
mpeg 720x486 512 30000/1001 -flags +ildct -non_linear_quant 1 -qmax 28
mpeg 720x480 512 30000/1001
mpeg 720x576 576 25/1
mpeg 1920x1080 1088 25/1 -flags +ildct
mpeg 1920x1080 1080 25/1

# A frame whose video is damaged is shown as far as it goes, and the next one whole.
size=720x576
cp open-DVCPRO50-625.dv damaged.dv
printf '%05000d' 0 | dd of=damaged.dv bs=1000 seek=43 conv=notrunc status=none
run 0 decode open-DVCPRO50-625.dv --format yuy2 --raw whole
run 0 decode damaged.dv --format yuy2 --raw samples
frame=$((720 * 576 * 2))
holds "the damage is seen" test "$(cmp whole samples 2>&1 | wc -l)" = 1
holds "the next frame is whole" cmp -s -i $frame whole samples

# Two graphs at once in two threads, again and again, need no more memory than at first.
for clip in open-DV25-625.dv mpeg-720x576-608.avi; do
    run 0 bench "$clip" --format yuy2 --repeat 100 --graphs 2
    says "beside it: 200 frames"
    grown=$(sed -n 's/^memory: .*, \([-+][0-9.]*\) MB since.*/\1/p' <<<"$said")
    holds "$clip: memory stays, $grown MB" awk "BEGIN { exit !($grown < 4) }"
done

unset NYX_OPEN_ENGINES
use_no_engines
