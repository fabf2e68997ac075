# Footage and raw pictures are encoded to Zeta clips and decoded again. A quantiser step of 4 costs 47 dB;
# RGB also loses half of its chroma and is rounded twice. A wrong matrix, range or row order costs far more.
use_engines
quality="--quant 4 --max-size 100"
pictures="--size 720x480 --rate 30000/1001"
run 0 decode clip.avi --format yuy2 --raw yuy2.raw
make_pictures natural 720 480 30000/1001 3 lossless-rgb24 rgb24.raw
quiet_ffmpeg -f rawvideo -pixel_format bgr24 -video_size 720x480 -i rgb24.raw \
    -vf format=bgra,colorchannelmixer=aa=0.5 -f rawvideo argb.raw
round_trip() { # FORMAT HEIGHT BOUND RAW INPUT OPTION...
    local pixels
    pixels=$(raw_format "$1")
    run 0 encode "$5" zeta.avi $quality "${@:6}"
    says "encoder: Rokka Zeta Encoder, preset 4: quantiser 4, at most 100 % of a 4:2:2 picture" "3 frames in"
    run 0 decode zeta.avi --format "$1" --raw back.raw
    at_least "$3" "$(psnr_of_raw "$pixels" 720 "$2" back.raw null "$4")" "$5 by way of Zeta"
}
round_trip yuy2 486 46 yuy2.raw clip.avi
round_trip argb32 480 39 argb.raw argb.raw --argb $pictures
round_trip rgb24 480 39 rgb24.raw rgb24.raw --rgb24 $pictures
holds "ffprobe reads the encoded clip" diff - <(ffprobe -loglevel error -select_streams v \
    -show_entries stream=codec_tag_string,width,height,r_frame_rate,nb_frames -of csv=p=0 \
    zeta.avi) <<<"QZTA,720,480,30000/1001,3"
holds "all frames are marked as key frames" test \
    "$(ffprobe -loglevel error -show_entries packet=flags -of csv=p=0 zeta.avi | tr -d '\n')" = K_K_K_

# Top-down rows give the same frames.
quiet_ffmpeg -f rawvideo -pixel_format bgr24 -video_size 720x480 -i rgb24.raw -vf vflip -f rawvideo turned.raw
run 0 encode turned.raw turned.avi $quality --rgb24 ${pictures/x/x-}
holds "the same frames from turned pictures" cmp -s turned.avi zeta.avi

# A range of a clip with sound, in parts of a megabyte, which readers of OpenDML see as one file.
make_q210 natural 720 486 30000/1001 12 silent
quiet_ffmpeg -i silent.avi -f lavfi -i sine=r=48000:d=0.4 -c:v copy -c:a pcm_s24le sound.avi
run 0 encode sound.avi parts.avi --from 2f --frames 9 --part 1 $quality
holds "further parts" grep -qa AVIX parts.avi
range="--from 2f --frames 9"
for file in sound parts; do
    run 0 decode $file.avi $range --format yuy2 --raw $file.raw --audio $file.wav
    range=
done
at_least 46 "$(psnr_of_raw yuyv422 720 486 parts.raw null sound.raw)" "a range, in parts"
holds "its sound there and back" cmp sound.wav parts.wav
holds "ffprobe finds all of it" diff - <(ffprobe -loglevel error -show_entries \
    stream=codec_name,nb_frames -of csv=p=0 parts.avi) <<<"unknown,9
pcm_s24le,14415"

# A preset, a budget, a fault.
run 0 encode rgb24.raw preset.avi --preset 1 --rgb24 $pictures
says "preset 1: quantiser 4, at most 40 %"
run 0 encode clip.avi small.avi --quant 4 --max-size 5
holds "three frames of at most 5 %" \
    test "$(stat -c %s small.avi)" -lt $((3 * 720 * 486 * 2 * 5 / 100 + 65536))
export NYX_STANDIN=encode:access
run 6 encode rgb24.raw failed.avi --rgb24 $pictures
says "frame 2 could not be encoded: E_FAIL"
unset NYX_STANDIN
use_no_engines
