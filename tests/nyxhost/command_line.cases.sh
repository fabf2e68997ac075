# The command line is understood or refused with exit code 1.
run 0 --help
says "Exit codes:"
run 0 decode --help
says "--raw"
run 1
says "subcommand"
run 1 enhance clip.avi
run 1 decode
says "clip is required"
run 1 decode clip.avi --format yv12
says "yv12"
run 1 decode clip.avi --frames 0
run 1 info clip.avi --colour

wrap_with() { # CODE OPTION VALUE: wraps with one option replaced
    local -A options=([--fourcc]=Q210 [--size]=720x486 [--bits]=20 [--rate]=25/1
        [--frame-bytes]=933120 [--info]=0,1,1)
    options[$2]=$3
    local arguments=() option
    for option in "${!options[@]}"; do
        arguments+=("$option=${options[$option]}")
    done
    run "$1" wrap clip.v210 wrapped.avi "${arguments[@]}"
}
wrap_with 0 --rate 24000/1001
wrap_with 1 --fourcc Q21
wrap_with 1 --size 720
wrap_with 1 --size 0x486
wrap_with 1 --rate 25
wrap_with 1 --rate 25/0
wrap_with 1 --bits many
wrap_with 1 --frame-bytes 0
wrap_with 1 --info 0,1
wrap_with 1 --info 0,1,1,1

# What was wrapped is what another reader of AVI finds.
wrap_with 0 --size 720x486
holds "ffprobe reads the wrapped clip" diff - <(ffprobe -loglevel error -select_streams v \
    -show_entries stream=codec_tag_string,width,height,r_frame_rate,nb_frames -of csv=p=0 \
    wrapped.avi) <<<"Q210,720,486,25/1,3"
