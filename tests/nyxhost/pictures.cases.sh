# Decoded pictures against ffmpeg's own conversion of the same v210 frames. The two round differently:
# ffmpeg dithers down to 8 bits, which costs about 54 dB for YUY2, and computes RGB from 10 bits, the
# decoder from 8, which costs about 51 dB. A wrong matrix, range, chroma position or row order costs
# far more.
yuy2_bound=52
rgb_bound=48

declare -A row_bytes=([yuy2]=2 [rgb24]=3 [rgb32]=4)

compare() { # KIND WIDTH HEIGHT RATE FRAMES
    local width=$2 height=$3 format bound name=$1-$2
    make_v210 "$1" "$width" "$height" "$4" "$5" "$name.v210"
    wrap_q210 "$name.v210" "$width" "$height" "$4" "$name.avi"
    wrap_q210 "$name.v210" "$width" "$height" "$4" "$name-info.avi" --info 0,1,1
    for format in yuy2 rgb24 rgb32; do
        run 0 decode "$name.avi" --format "$format" --raw "$format.raw" --out png
        says "decoder: Rokka Q210 Decoder"
        holds "$name as $format: all frames, packed rows" \
            test "$(stat -c %s "$format.raw")" = $((width * height * row_bytes[$format] * $5))
        bound=$rgb_bound
        [ "$format" != yuy2 ] || bound=$yuy2_bound
        at_least $bound "$(psnr_against_ffmpeg "$format" "$width" "$height" "$format.raw" \
            "$name.v210")" "$name as $format against ffmpeg"
        compare_png "$name" "$format" "$width" "$height" "$bound"

        run 0 decode "$name-info.avi" --format "$format" --raw info.raw --videoinfo2
        holds "$name as $format: an \"INFO\" chunk changes no picture" cmp -s "$format.raw" info.raw
    done
}

# The first PNG picture holds what the first sample held.
compare_png() { # NAME FORMAT WIDTH HEIGHT BOUND
    local png=png/$1-$2-00000.png upright
    upright=$(raw_orientation "$2")
    quiet_ffmpeg -f rawvideo -pixel_format "$(raw_format "$2")" -video_size "${3}x$4" -i "$2.raw" \
        -frames:v 1 -vf "$upright,scale=in_color_matrix=$(matrix_of "$3" "$4"):in_range=tv:out_range=pc:in_h_chr_pos=0:flags=accurate_rnd+full_chroma_int+bilinear" \
        -pix_fmt rgb24 -f rawvideo sample.rgb
    quiet_ffmpeg -i "$png" -pix_fmt rgb24 -f rawvideo png.rgb
    if [ "$2" = yuy2 ]; then
        at_least "$5" "$(ffmpeg -nostdin -hide_banner \
            -f rawvideo -pixel_format rgb24 -video_size "${3}x$4" -i sample.rgb \
            -f rawvideo -pixel_format rgb24 -video_size "${3}x$4" -i png.rgb \
            -lavfi psnr -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([^ ]*\) .*/\1/p')" \
            "$png against ffmpeg's conversion of the sample"
    else
        holds "$png holds the sample's pixels" cmp -s sample.rgb png.rgb
    fi
}

compare natural 720 486 30000/1001 2
compare bars 720 576 25/1 1
compare natural 1920 1080 25/1 1
compare zoneplate 1280 720 50/1 1
compare natural 722 50 25/1 2 # rows of RGB24 that are no whole number of DWORDs
compare natural 2 16 25/1 1   # the narrowest; ffmpeg itself wants some rows

# Part of a clip, file names outside ASCII, and repeated passes.
cp natural-722.avi 'Änderung 変.avi'
run 0 decode 'Änderung 変.avi' --format rgb24 --frames 1 --out 'Bilder 図'
holds "one picture under its name" test "$(ls 'Bilder 図')" = 'Änderung 変-rgb24-00000.png'
run 0 bench natural-722.avi --format yuy2 --repeat 3
says "pass 3: 2 frames"
says "best:"
