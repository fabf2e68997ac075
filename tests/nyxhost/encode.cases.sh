# Zeta clips as ffprobe reads them, with sound and in parts.
use_engines
quality="--quant 4 --max-size 100"
make_pictures natural 720 480 30000/1001 3 lossless-rgb24 rgb24.raw
run 0 encode rgb24.raw zeta.avi $quality --rgb24 --size 720x480 --rate 30000/1001
holds "ffprobe reads the encoded clip" diff - <(ffprobe -loglevel error -select_streams v \
    -show_entries stream=codec_tag_string,width,height,r_frame_rate,nb_frames -of csv=p=0 \
    zeta.avi) <<<"QZTA,720,480,30000/1001,3"
holds "all frames are marked as key frames" test \
    "$(ffprobe -loglevel error -show_entries packet=flags -of csv=p=0 zeta.avi | tr -d '\n')" = K_K_K_

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
use_no_engines
