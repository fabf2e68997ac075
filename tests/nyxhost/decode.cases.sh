# A decoded picture against ffmpeg's own conversion of the same v210 frames, and what ffmpeg reads of the rest.
make_q210 natural 960 720 50/1 2 natural
add_info_chunks natural 960 720 50/1 natural.avi 0,1,1
run 0 decode natural.avi --format rgb24 --raw rgb24.raw
at_least 48 "$(psnr_against_ffmpeg rgb24 960 720 rgb24.raw natural.v210)" "RGB in BT.709 against ffmpeg"

cp zoneplate-722.avi 'Änderung 変.avi'
run 0 decode 'Änderung 変.avi' --format rgb24 --from 0.05 --frames 1 --out 'Bilder 図' --raw part.raw
quiet_ffmpeg -i 'Bilder 図/Änderung 変-rgb24-00001.png' -f rawvideo -pix_fmt bgr24 -vf vflip png.raw
holds "a PNG holds the sample's pixels" cmp -s png.raw <(tail -c $((722 * 50 * 3)) part.raw)
holds "its hash is ffmpeg's" diff <(run_nyxhost decode zoneplate-722.avi --from 1f --hash 2>/dev/null | tail -n 1) \
    <(quiet_ffmpeg -i 'Bilder 図/Änderung 変-rgb24-00001.png' -pix_fmt bgr24 -f framemd5 - | tail -n 1)
run 0 decode clip.avi --frames 1 --square --out square
holds "4:3 on square pixels" test "$(ffprobe -v error -show_entries stream=width,height -of csv=p=0 square/*)" = 648,486

# On a console of 50 columns: a bar in the remaining width, the rate and the time left.
said=$(script -qec "stty cols 50; wine '$nyxhost' decode zoneplate-722.avi --raw part.raw" /dev/null </dev/null)
says "decoding [...........................] 0/2 frames" "/2 frames, " "/s, 0:00 left"

use_engines
make_pictures natural 720 576 25/1 2 zeta2-alpha alpha.raw
make_standin_clip zeta2-alpha 720 576 25/1 alpha.raw zeta2-alpha.avi
run 0 decode zeta2-alpha.avi --format argb32 --frames 1 --raw part.raw --out .
quiet_ffmpeg -i zeta2-alpha-argb32-00000.png -f rawvideo -pix_fmt bgra -vf vflip png.raw
holds "a PNG holds alpha" cmp png.raw part.raw
make_pictures natural 720 576 25/1 2 zeta zeta.raw
make_standin_clip zeta 720 576 25/1 zeta.raw zeta.avi

# Ctrl+C.
wine "$nyxhost" bench zeta.avi --repeat 10000 </dev/null >said 2>&1 &
until grep -qs "^pass 1" said || ! kill -0 $! 2>/dev/null; do sleep 0.2; done
kill -INT $!
code=0
wait $! || code=$?
holds "an interrupted run ends with 10, not $code" test $code = 10
use_no_engines
