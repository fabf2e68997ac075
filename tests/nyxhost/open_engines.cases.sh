# The open engines through the whole module: real frames of every kind against ffmpeg's own decode.
# Asked to be exact, both use the same inverse transform: luma and 4:2:2 chroma are equal to the last
# bit. Where chroma has another resolution, or the output is RGB, ffmpeg's scaler is the other side,
# which filters and rounds differently.
engines=$engines/../open use_engines
export NYX_OPEN_ENGINES=exact
theirs() { # FILTER PIXELS INPUT: ffmpeg's pictures
    quiet_ffmpeg -loglevel fatal -flags bitexact -idct simple -threads 1 -i "$3" -vf "$1,format=$2" \
        -f rawvideo theirs
}
plays() { # CLIP SIZE PIXELS THEIR-FILTER INPUT: two frames as YUY2 and as RGB
    local clip=$1 width=${2%x*} height=${2#*x} scale interlaced=0 component psnr
    run 0 decode "$clip" --format yuy2 --raw samples
    scale=scale=flags=bilinear+accurate_rnd:in_h_chr_pos=0:out_h_chr_pos=0:interl=1
    [ "$3" != yuv422p ] || scale=null
    theirs "$4,$scale" yuyv422 "$5"
    for component in y u v; do
        psnr=$(component=$component psnr_of_raw yuyv422 "$width" "$height" samples null theirs)
        at_least "$([ $scale = null ] || [ $component = y ] && echo inf || echo 38)" "$psnr" \
            "$clip: $component"
    done
    component=average
    run 0 decode "$clip" --format rgb24 --raw samples
    [ "$3" != yuv420p ] || interlaced=1
    scale=scale=flags=bilinear+accurate_rnd+full_chroma_int:in_color_matrix=$(matrix_of "$width" "$height")
    theirs "$4,$scale:in_range=tv:out_range=pc:in_h_chr_pos=0:interl=$interlaced,format=gbrp" bgr24 "$5"
    at_least 42 "$(psnr_of_raw bgr24 "$width" "$height" samples vflip theirs)" "$clip as RGB"
}
while read -r size rate pixels; do
    clip=open-$size-${rate%/*}-$pixels.dv
    make_dv natural "${size%x*}" "${size#*x}" "$rate" 2 "$pixels" "$clip"
    plays "$clip" "$size" "$pixels" null "$clip"
done <<'CLIPS'
720x480   30000/1001 yuv411p
720x576   25/1       yuv420p
720x576   25/1       yuv411p
720x480   30000/1001 yuv422p
720x576   25/1       yuv422p
1280x1080 30000/1001 yuv422p
1440x1080 25/1       yuv422p
960x720   60000/1001 yuv422p
960x720   50/1       yuv422p
CLIPS
while read -r size coded rate options; do
    width=${size%x*} height=${size#*x} clip=mpeg-$size-$coded.avi
    make_mpeg_intra natural "$width" "$height" "$coded" "$rate" 2 "$clip" $options
    plays "$clip" "$size" yuv422p "crop=$width:$height:0:$((coded - height))" "$clip.m2v"
done <<'CLIPS'
720x576   608  25/1       -flags +ildct -intra_vlc 1
720x486   512  30000/1001 -flags +ildct -non_linear_quant 1 -qmax 28
720x480   512  30000/1001
720x576   576  25/1
1920x1080 1088 25/1       -flags +ildct
1920x1080 1080 25/1
CLIPS

# A frame whose video is damaged is shown as far as it goes, and the next one whole.
clip=open-720x576-25-yuv422p.dv
cp $clip damaged.dv
printf '%05000d' 0 | dd of=damaged.dv bs=1000 seek=43 conv=notrunc status=none
run 0 decode $clip --format yuy2 --raw whole
run 0 decode damaged.dv --format yuy2 --raw samples
holds "the damage is seen" test "$(cmp whole samples 2>&1 | wc -l)" = 1
holds "the next frame is whole" cmp -s -i $((720 * 576 * 2)) whole samples
run 0 bench $clip --format yuy2 --repeat 3 --graphs 2
says "beside it: 6 frames"
unset NYX_OPEN_ENGINES
use_no_engines
