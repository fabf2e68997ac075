# Decoded pictures against ffmpeg's own conversion of the same v210 frames. The two round differently:
# ffmpeg dithers down to 8 bits, which costs about 54 dB for YUY2, and computes RGB from 10 bits, the
# decoder from 8, which costs about 51 dB. A wrong matrix, range, chroma position or row order costs
# far more.
declare -A bounds=([yuy2]=52 [rgb24]=48 [rgb32]=48)
compare() { # KIND WIDTH HEIGHT RATE
    local format name=$1-$2
    make_q210 "$1" "$2" "$3" "$4" 2 "$name"
    add_info_chunks "$name" "$2" "$3" "$4" "$name.avi" 0,1,1
    for format in yuy2 rgb24 rgb32; do
        run 0 decode "$name.avi" --format "$format" --raw "$format.raw" --out png
        says "decoder: Rokka Q210 Decoder"
        at_least "${bounds[$format]}" "$(psnr_against_ffmpeg "$format" "$2" "$3" "$format.raw" \
            "$name.v210")" "$name as $format against ffmpeg"
    done
}
compare natural 1920 1080 25/1
compare zoneplate 722 50 25/1 # rows of RGB24 that are no whole number of DWORDs
compare natural 2 16 25/1     # the narrowest; ffmpeg itself wants some rows

quiet_ffmpeg -i png/zoneplate-722-rgb24-00001.png -f rawvideo -pix_fmt bgr24 -vf vflip png.raw
run 0 decode zoneplate-722.avi --format rgb24 --raw packed.raw
holds "a PNG holds the sample's pixels" cmp -s png.raw <(tail -c $((722 * 50 * 3)) packed.raw)
run 0 decode zoneplate-722.avi --format rgb24 --raw other.raw --videoinfo2
holds "the other form of type changes no picture" cmp -s packed.raw other.raw
cp natural-2.avi 'Änderung 変.avi'
run 0 decode 'Änderung 変.avi' --format rgb24 --frames 1 --out 'Bilder 図'
holds "one picture under its name" test "$(ls 'Bilder 図')" = 'Änderung 変-rgb24-00000.png'
run 0 bench natural-2.avi --format yuy2 --repeat 3
says "pass 3: 2 frames"

# Clips of every coding of the stand-in engines, against the pictures that went in. A quantiser step of
# 5 leaves a mean squared error of 6.25 at most, 40.2 dB; lossless frames come back bit by bit, but for
# the clear pixels, which are cleaned. Where there is alpha, it is exact.
use_engines
while read -r coding format width height bound refused options; do
    make_pictures natural "$width" "$height" 25/1 2 "$coding" "$coding.raw"
    make_standin_clip "$coding" "$width" "$height" 25/1 "$coding.raw" "$coding.avi" $options
    run 0 decode "$coding.avi" --format "$format" --raw decoded.raw
    pixels=$(raw_format "$format")
    at_least "$bound" "$(psnr_of_raw "$pixels" "$width" "$height" decoded.raw \
        "$(raw_orientation "$format")" "$coding.raw")" "$coding to $format"
    [ $refused = - ] || run 5 decode "$coding.avi" --format $refused
    [ "$format" = argb32 ] || continue
    for file in decoded.raw "$coding.raw"; do
        turned=$([ $file = decoded.raw ] && echo vflip || echo null)
        quiet_ffmpeg -f rawvideo -pixel_format bgra -video_size "${width}x$height" -i "$file" \
            -vf "$turned,alphaextract" -f rawvideo "$file.alpha"
    done
    holds "$coding: alpha is exact" cmp -s decoded.raw.alpha "$coding.raw.alpha"
done <<'CLIPS'
zeta            yuy2   720 576 40.2 argb32
zeta2           yuy2   720 576 40.2 -
lossless-yuy2   yuy2   720 486 inf  -
lossless-rgb24  rgb24  720 486 inf  -
zeta-alpha      argb32 720 576 0    yuy2
zeta2-alpha     argb32 720 576 0    -
lossless-argb32 argb32 720 486 30   -
mpeg2           yuy2   720 576 40.2 -      5 32
CLIPS
use_no_engines
