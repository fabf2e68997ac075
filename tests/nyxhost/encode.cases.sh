# Encoding: pictures made by ffmpeg become Zeta clips, which decode back to the same pictures.
use_engines

pictures() { # KIND PIXEL-FORMAT FILE [FILTER]: three frames of 720x480 as an AVI of pictures
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" 720 480 30000/1001)" -frames:v 3 \
        -vf "scale=out_color_matrix=bt601:out_range=tv:flags=accurate_rnd+bicubic,format=$2${4:+,$4}" \
        -an -c:v rawvideo -pix_fmt "$2" "$3"
}

# The average PSNR between a clip and raw samples of the same pictures; "inf" when they are the same.
psnr_of_samples() { # CLIP FORMAT SAMPLES
    ffmpeg -nostdin -hide_banner -i "$1" \
        -f rawvideo -pixel_format "$(raw_format "$2")" -video_size 720x480 -framerate 30000/1001 \
        -i "$3" -lavfi \
        "[1]$(raw_orientation "$2")[b];[0][b]psnr" -f null - 2>&1 |
        sed -n 's/.*PSNR.* average:\([^ ]*\) .*/\1/p'
}

# A quantiser's step of 4 alone is 47 dB where everything varies; RGB loses half of its chroma too, and
# rounds twice. A wrong matrix, range or row order costs far more.
round_trip() { # FORMAT BOUND CLIP OPTION...
    local format=$1 bound=$2 clip=$3
    shift 3
    run 0 encode "$clip" zeta.avi "$@"
    says "encoder: Rokka Zeta Encoder, preset 4: quantiser 4, at most 100 % of a 4:2:2 picture"
    says "3 frames in"
    says "Mbit/s"
    run 0 decode zeta.avi --format "$format" --raw back.raw
    local psnr
    psnr=$(psnr_of_samples "$clip" "$format" back.raw)
    printf '%s by way of Zeta: %s dB\n' "$clip" "$psnr"
    at_least "$bound" "$psnr" "$clip by way of Zeta"
}
fine="--quant 4 --max-size 100"
pictures natural yuyv422 natural-yuy2.avi
pictures natural bgr24 natural-rgb24.avi
pictures natural bgra natural-argb.avi colorchannelmixer=aa=0.5
round_trip yuy2 46 natural-yuy2.avi $fine
round_trip rgb24 39 natural-rgb24.avi $fine
round_trip argb32 39 natural-argb.avi $fine --argb

# What was encoded is what another reader of AVI finds.
run 0 encode natural-rgb24.avi zeta.avi --preset 1
says "preset 1: quantiser 4, at most 40 %"
holds "ffprobe reads the encoded clip" diff - <(ffprobe -loglevel error -select_streams v \
    -show_entries stream=codec_tag_string,width,height,r_frame_rate,nb_frames -of csv=p=0 \
    zeta.avi) <<<"QZTA,720,480,30000/1001,3"
run 0 info zeta.avi
says "bottom first"
says "27:20"

# The budget holds.
run 0 encode natural-yuy2.avi small.avi --quant 4 --max-size 5
holds "three frames of at most 5 %" \
    test "$(stat -c %s small.avi)" -lt $((3 * 720 * 480 * 2 * 5 / 100 + 65536))

# Raw pictures, of either row order, make the same frames as an AVI.
quiet_ffmpeg -i natural-rgb24.avi -pix_fmt bgr24 -f rawvideo topdown.raw
quiet_ffmpeg -i natural-rgb24.avi -vf vflip -pix_fmt bgr24 -f rawvideo upright.raw
run 0 encode natural-rgb24.avi zeta.avi
run 0 encode topdown.raw topdown.avi --rgb24 --size=720x-480 --rate 30000/1001
run 0 encode upright.raw upright.avi --rgb24 --size 720x480 --rate 30000/1001
holds "raw pictures from top to bottom" cmp -s topdown.avi zeta.avi
holds "raw pictures from bottom to top" cmp -s upright.avi zeta.avi

# What the encoder does not take.
run 5 encode natural-argb.avi none.avi --rgb32
says "takes 32-bit pictures only with alpha: --argb"
says "--yuy2"
run 5 encode natural-argb.avi none.avi
says "refuses rgb32 pictures"
run 5 encode natural-rgb24.avi none.avi --yuy2
says "holds rgb24 pictures, not yuy2"
run 5 encode clip.avi none.avi
says "no pictures that can be encoded but Q210"
run 5 encode upright.raw none.avi --rgb24 --size 240x480 --rate 25/1
says "refuses rgb24 pictures of 240x480"
run 2 encode upright.raw none.avi --rgb24 --size 721x480 --rate 25/1
says "no whole number of pictures"
run 2 encode missing.avi none.avi
run 1 encode upright.raw none.avi --rgb24 --size 720x480
says "need both --size and --rate"
run 1 encode upright.raw none.avi --size 720x480 --rate 25/1
says "--argb"
run 1 encode natural-rgb24.avi none.avi --rgb24 --argb
run 1 encode natural-rgb24.avi none.avi --preset 5
run 1 encode natural-rgb24.avi none.avi --quant 3
run 1 encode natural-rgb24.avi none.avi --max-size 101
run 1 encode natural-rgb24.avi none.avi --preset 1 --quant 5
says "the custom one"
use_no_engines
run 5 encode natural-rgb24.avi none.avi
says "Rokka Zeta Encoder cannot be created"
use_engines
register /u
run 4 encode natural-rgb24.avi none.avi
says 'no video compressor "Rokka Zeta Encoder" is registered'
register
holds "nothing is left where nothing was encoded" test ! -e none.avi
run 7 encode natural-rgb24.avi missing/out.avi
says "cannot create missing/out.avi"
cp natural-rgb24.avi same.avi
run 7 encode same.avi same.avi
holds "pictures are not replaced by their own clip" cmp -s natural-rgb24.avi same.avi

# Frames that the engine fails on are told and left out.
export NYX_STANDIN=encode:access
run 6 encode natural-rgb24.avi none.avi
says "frame 0 could not be encoded: E_FAIL"
says "frame 2 could not be encoded: E_FAIL"
unset NYX_STANDIN
use_no_engines
