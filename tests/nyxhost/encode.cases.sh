# Pictures made by ffmpeg become Zeta clips, which decode back to the same pictures.
use_engines
pictures() { # PIXEL-FORMAT FILE FILTER: three frames of 720x480 as an AVI of pictures
    quiet_ffmpeg -f lavfi -i "$(source_filter natural 720 480 30000/1001)" -frames:v 3 \
        -vf "scale=out_color_matrix=bt601:out_range=tv:flags=accurate_rnd+bicubic,format=$1,$3" \
        -an -c:v rawvideo -pix_fmt "$1" "$2"
}
pictures yuyv422 yuy2.avi null
pictures bgr24 rgb24.avi null
pictures bgra argb.avi colorchannelmixer=aa=0.5

# A quantiser's step of 4 alone is 47 dB where everything varies; RGB loses half of its chroma too, and
# rounds twice. A wrong matrix, range or row order costs far more.
round_trip() { # FORMAT BOUND CLIP OPTION...
    run 0 encode "$3" zeta.avi --quant 4 --max-size 100 "${@:4}"
    says "encoder: Rokka Zeta Encoder, preset 4: quantiser 4, at most 100 % of a 4:2:2 picture"
    says "3 frames in"
    run 0 decode zeta.avi --format "$1" --raw back.raw
    quiet_ffmpeg -i "$3" -f rawvideo -pix_fmt "$(raw_format "$1")" there.raw
    at_least "$2" "$(psnr_of_raw "$(raw_format "$1")" 720 480 back.raw "$(raw_orientation "$1")" \
        there.raw)" "$3 by way of Zeta"
}
round_trip yuy2 46 yuy2.avi
round_trip rgb24 39 rgb24.avi
round_trip argb32 39 argb.avi --argb

# What was encoded is what another reader of AVI finds, and the budget holds.
run 0 encode rgb24.avi zeta.avi --preset 1
says "preset 1: quantiser 4, at most 40 %"
holds "ffprobe reads the encoded clip" diff - <(ffprobe -loglevel error -select_streams v \
    -show_entries stream=codec_tag_string,width,height,r_frame_rate,nb_frames -of csv=p=0 \
    zeta.avi) <<<"QZTA,720,480,30000/1001,3"
run 0 encode yuy2.avi small.avi --quant 4 --max-size 5
holds "three frames of at most 5 %" \
    test "$(stat -c %s small.avi)" -lt $((3 * 720 * 480 * 2 * 5 / 100 + 65536))

# Raw pictures, of either row order, make the same frames as an AVI.
run 0 encode rgb24.avi zeta.avi
for order in null:-480 vflip:480; do
    quiet_ffmpeg -i rgb24.avi -vf "${order%:*}" -pix_fmt bgr24 -f rawvideo pictures.raw
    run 0 encode pictures.raw raw.avi --rgb24 --size="720x${order#*:}" --rate 30000/1001
    holds "raw pictures, $order" cmp -s raw.avi zeta.avi
done
export NYX_STANDIN=encode:access
run 6 encode rgb24.avi failed.avi
says "frame 2 could not be encoded: E_FAIL"
unset NYX_STANDIN
