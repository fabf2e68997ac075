# Decoded pictures against ffmpeg's own conversion of the same v210 frames, by way of 8 bits. YUY2 is equal;
# RGB is rounded differently. A wrong matrix, range, chroma position or row order costs far more.
while read -r kind width height rate formats; do
    name=$kind-$width
    make_q210 "$kind" "$width" "$height" "$rate" 2 "$name"
    add_info_chunks "$name" "$width" "$height" "$rate" "$name.avi" 0,1,1
    for format in $formats; do
        run 0 decode "$name.avi" --format "${format%:*}" --raw "${format%:*}.raw"
        at_least "${format#*:}" "$(psnr_against_ffmpeg "${format%:*}" "$width" "$height" \
            "${format%:*}.raw" "$name.v210")" "$name as ${format%:*} against ffmpeg"
    done
done <<'CLIPS'
natural   960 720 50/1 rgb24:48
natural   2   16  25/1 yuy2:inf rgb32:48
zoneplate 722 50  25/1 yuy2:inf rgb32:48 rgb24:48
CLIPS
# The second clip is the narrowest picture; the third has RGB24 rows that are not a multiple of a DWORD.

cp zoneplate-722.avi 'Änderung 変.avi'
run 0 decode 'Änderung 変.avi' --format rgb24 --from 0.05 --frames 1 --out 'Bilder 図' --raw part.raw
says "decoder: Rokka Q210 Decoder"
holds "the frame at a time is the second one" cmp -s part.raw <(tail -c $(stat -c %s part.raw) rgb24.raw)
holds "one picture under its name" test "$(ls 'Bilder 図')" = 'Änderung 変-rgb24-00001.png'
quiet_ffmpeg -i 'Bilder 図/Änderung 変-rgb24-00001.png' -f rawvideo -pix_fmt bgr24 -vf vflip png.raw
holds "a PNG holds the sample's pixels" cmp -s png.raw <(tail -c $((722 * 50 * 3)) part.raw)
holds "its hash is ffmpeg's" diff <(run_nyxhost decode zoneplate-722.avi --from 1f --hash 2>/dev/null | tail -n 1) \
    <(quiet_ffmpeg -i 'Bilder 図/Änderung 変-rgb24-00001.png' -pix_fmt bgr24 -f framemd5 - | tail -n 1)
run 0 decode clip.avi --frames 1 --square --out square
holds "4:3 on square pixels" test "$(ffprobe -v error -show_entries stream=width,height -of csv=p=0 square/*)" = 648,486

# Times beyond 2^31 units of 100 ns, and an end before the clip's.
make_q210 natural 48 16 1/1 222 long
run 0 decode long.avi --format yuy2 --raw all.raw
run 0 decode long.avi --format yuy2 --from 3:38 --frames 2 --raw part.raw
holds "the frames asked for" cmp part.raw <(tail -c $((48 * 16 * 2 * 4)) all.raw | head -c $((48 * 16 * 2 * 2)))

# On a console of 50 columns: a bar in the remaining width, the rate and the time left.
said=$(script -qec "stty cols 50; wine '$nyxhost' decode zoneplate-722.avi --raw part.raw" /dev/null </dev/null)
says "decoding [...........................] 0/2 frames" "/2 frames, " "/s, 0:00 left"

run 0 play zoneplate-722.avi --from 1f --frames 1
says "filter: Rokka Q210 Decoder"

# Clips of the stand-in engines, against their source pictures. A quantiser step of 5 leaves a mean squared
# error of at most 6.25, 40.2 dB; lossless frames are equal bit by bit. Alpha is exact, and clear pixels are
# cleaned.
use_engines
while read -r coding format width height bound refused options; do
    make_pictures natural "$width" "$height" 25/1 2 "$coding" "$coding.raw"
    make_standin_clip "$coding" "$width" "$height" 25/1 "$coding.raw" "$coding.avi" $options
    run 0 decode "$coding.avi" --format "$format" --raw decoded.raw
    component=average
    [ "$format" != argb32 ] || component=a
    at_least "$bound" "$(psnr_of_raw "$(raw_format "$format")" "$width" "$height" decoded.raw \
        "$(raw_orientation "$format")" "$coding.raw")" "$coding to $format"
    component=average
    [ $refused = - ] || run 5 decode "$coding.avi" --format $refused
done <<'CLIPS'
zeta           yuy2   720 576 40.2 argb32
zeta2-alpha    argb32 720 576 inf  -
lossless-rgb24 rgb24  720 486 inf  -
mpeg2          yuy2   720 576 40.2 -      5 32
CLIPS
run 0 decode zeta2-alpha.avi --format argb32 --frames 1 --raw part.raw --out .
quiet_ffmpeg -i zeta2-alpha-argb32-00000.png -f rawvideo -pix_fmt bgra -vf vflip png.raw
holds "a PNG holds alpha" cmp png.raw part.raw
run 0 bench zeta.avi --format yuy2 --repeat 2 --graphs 2
says "in parallel: 4 frames" "pictures: the same from the file and from memory" "pass 2: 2 frames"

# Ctrl+C.
wine "$nyxhost" bench zeta.avi --repeat 10000 </dev/null >said 2>&1 &
until grep -qs "^pass 1" said || ! kill -0 $! 2>/dev/null; do sleep 0.2; done
kill -INT $!
code=0
wait $! || code=$?
holds "an interrupted run ends with 10, not $code" test $code = 10
use_no_engines
