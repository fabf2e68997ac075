# The gallery of scripts/demo: the test card through all eight decoders. Needs clips.sh, sheet.sh, sizes.sh,
# $out and $work.

# Name, decoder, FourCC, size, rate, the function that makes the clip, and its coding.
gallery=(
    "q210    |Rokka Q210 Decoder|Q210|720 576 25/1|v210"
    "zeta    |Rokka Zeta Decoder|QZTA|720 576 25/1|standin zeta"
    "argb    |Zeta Decoder, ARGB32|QZTA|720 576 25/1|standin zeta-alpha"
    "zeta2   |Rokka Zeta2 Decoder|QZT2|720 576 25/1|standin zeta2"
    "lossless|Rokka Lossless Decoder|QLLC|720 576 25/1|standin lossless-yuy2"
    "mpeg2   |Rokka MPEG2-Intra Decoder|QMIC|720 576 25/1|mpeg2"
    "dv25    |Rokka DV Decoder|QDVC|720 576 25/1|dv yuv420p"
    "dv50    |DVCPRO50 Decoder|QDV5|720 576 25/1|dv yuv422p"
    "dvhd    |DVCPRO HD Decoder|QDVH|960 720 50/1|dv yuv422p"
)

make_gallery_clip() { # HOW CODING WIDTH HEIGHT RATE FILE: a clip of two frames
    local how=$1 coding=$2 width=$3 height=$4 rate=$5 file=$6
    case $how in
        v210) make_q210 card "$width" "$height" "$rate" 2 "${file%.avi}" ;;
        standin)
            make_pictures card "$width" "$height" "$rate" 2 "$coding" "$file.raw"
            make_standin_clip "$coding" "$width" "$height" "$rate" "$file.raw" "$file"
            ;;
        mpeg2) make_mpeg_intra card "$width" "$height" 608 "$rate" 2 "$file" ;;
        dv) make_dv card "$width" "$height" "$rate" 2 "$coding" "$file" ;;
    esac
}

# The PSNR against the source in 4:2:2, or a note where that has no meaning.
gallery_note() { # CODING WIDTH HEIGHT RATE SAMPLES
    local psnr source=$work/source-$2
    if [ "$1" = zeta-alpha ]; then
        echo "over a checkerboard"
        return
    fi
    [ -e "$source" ] || make_pictures card "$2" "$3" "$4" 2 zeta "$source"
    psnr=$(psnr_of_raw yuyv422 "$2" "$3" "$5" null "$source")
    if [ "$psnr" = inf ]; then echo exact; else LC_ALL=C printf 'PSNR %.1f dB\n' "$psnr"; fi
}

show_gallery() {
    local entry name decoder fourcc geometry how coding width height rate format file note engine
    local tiles=() titles=() notes=() column_names=() row_names=() row='%-27s %-5s %-9s %-11s %-19s %s\n'
    say "One source through every decoder; PSNR is against the source as 8-bit 4:2:2"
    printf "$row" decoder code size engine picture file
    for entry in "${gallery[@]}"; do
        IFS='|' read -r name decoder fourcc geometry how <<<"$entry"
        name=${name// /}
        read -r width height rate <<<"$geometry"
        read -r how coding <<<"$how"
        file=$work/gallery-$name.avi
        engine=libavcodec
        case $how in
            v210) engine=none ;;
            standin) engine=stand-in ;;
            dv) file=$work/gallery-$name.dv ;;
        esac
        by win64 make_gallery_clip "$how" "$coding" "$width" "$height" "$rate" "$file"
        # The PSNR is of the 4:2:2 pictures, which a PNG cannot store.
        format=rgb24
        if [ "$coding" = zeta-alpha ]; then
            format=argb32
        else
            decode_alike "$file" --format yuy2 --raw samples
        fi
        note=$(gallery_note "$coding" "$width" "$height" "$rate" "$work/win32/samples")
        decode_alike "$file" --format "$format" --from 1f --out .
        mv "$work"/win32/*.png "$out"
        printf "$row" "$decoder" "$fourcc" "${width}x$height" "$engine" "$note" \
            "out/gallery-$name-$format-00001.png"
        tiles+=("$out/gallery-$name-$format-00001.png")
        titles+=("$decoder")
        notes+=("$fourcc, ${width}x$height"$'\n'"engine: $engine"$'\n'"$note")
    done
    draw_sheet "$out/gallery.jpg" 3 480 "One source through all eight decoders" \
        "Below each picture its middle, where red and blue meet: pixels as stored, 8 times as large." \
        "PSNR: of the decoder's 4:2:2 pictures, against the source as 8-bit 4:2:2." -q:v 4
}
