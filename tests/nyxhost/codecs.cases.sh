# Clips of every coding of the stand-in engines, decoded to every format that their decoders offer.
# The bounds follow from the stand-ins' coding: a quantiser step of 5 leaves a mean squared error of
# 6.25 at most, 40.2 dB; lossless frames in their own kind come back bit by bit.
use_engines

decodes() { # CODING FORMAT WIDTH HEIGHT BOUND: against the pictures that went in
    local pixels
    pixels=$(raw_format "$2")
    run 0 decode "$1.avi" --format "$2" --raw decoded.raw
    [ "$pixels" != bgr0 ] || pixels=bgra
    at_least "$5" "$(psnr_of_raw "$pixels" "$3" "$4" decoded.raw "$(raw_orientation "$2")" "$1.raw")" \
        "$1 to $2"
}

clip_of() { # CODING WIDTH HEIGHT [QUANT [EXTRA-LINES]]
    make_pictures natural "$2" "$3" 25/1 2 "$1" "$1.raw"
    make_standin_clip "$1" "$2" "$3" 25/1 "$1.raw" "$1.avi" "${@:4}"
}

for coding in zeta zeta2 mpeg2 lossless-yuy2; do
    clip_of $coding 720 576
    bound=40.2
    [ $coding != lossless-yuy2 ] || bound=inf
    decodes $coding yuy2 720 576 $bound
    for format in rgb24 rgb32; do
        run 0 decode $coding.avi --format $format --out png
        holds "$coding as $format: a picture" test -s png/$coding-$format-00001.png
    done
    run 5 decode $coding.avi --format argb32
done

clip_of lossless-rgb24 720 576
decodes lossless-rgb24 rgb24 720 576 inf

# The colours of pixels that are not quite clear, through 4:2:2 and back; alpha is exact.
same_alpha() { # CODING
    local file
    for file in decoded.raw "$1.raw"; do
        quiet_ffmpeg -f rawvideo -pixel_format bgra -video_size 720x576 -i $file \
            -vf "$([ $file = decoded.raw ] && echo vflip, || true)alphaextract" -f rawvideo $file.alpha
    done
    holds "$1: alpha is exact" cmp -s decoded.raw.alpha "$1.raw.alpha"
}
for coding in zeta-alpha zeta2-alpha lossless-argb32; do
    clip_of $coding 720 576
    run 0 decode $coding.avi --format argb32 --raw decoded.raw --out png
    same_alpha $coding
    quiet_ffmpeg -i png/$coding-argb32-00000.png -vf alphaextract -frames:v 1 -f rawvideo png.alpha
    holds "$coding: a PNG keeps alpha" cmp -s png.alpha \
        <(head -c $((720 * 576)) "$coding.raw.alpha")
    run 5 decode $coding.avi --format yuy2
done
decodes lossless-argb32 argb32 720 576 30 # but for the clear pixels, which are cleaned

# The 608 coded lines of 625-line systems: the 32 at the top are not part of the picture.
clip_of mpeg2 720 576 5 32
decodes mpeg2 yuy2 720 576 40.2
use_no_engines
