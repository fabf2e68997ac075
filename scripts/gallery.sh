# The gallery of scripts/demo: the same natural source through all eight decoders, and a picture with
# alpha over a checkerboard. Needs $nyxhost, $engines, $out, $font and $work; leaves out/gallery.jpg.

# Name, decoder, FourCC, size, rate, how the clip is made, and what codes and decodes it.
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

have_open_engines() { [ -e "$engines/../open/rkdvh.dll" ] && [ -e "$engines/../open/rkm2vi01.dll" ]; }

make_gallery_clip() { # HOW CODING WIDTH HEIGHT RATE FILE: a clip of two frames
    local how=$1 coding=$2 width=$3 height=$4 rate=$5 file=$6
    case $how in
        v210)
            make_q210 natural "$width" "$height" "$rate" 2 "${file%.avi}"
            ;;
        standin)
            make_pictures natural "$width" "$height" "$rate" 2 "$coding" "$file.raw"
            make_standin_clip "$coding" "$width" "$height" "$rate" "$file.raw" "$file"
            ;;
        mpeg2)
            if have_open_engines; then
                make_mpeg_intra natural "$width" "$height" 608 "$rate" 2 "$file"
            else
                make_pictures natural "$width" "$height" "$rate" 2 mpeg2 "$file.raw"
                make_standin_clip mpeg2 "$width" "$height" "$rate" "$file.raw" "$file" 5 32
            fi
            ;;
        dv)
            make_dv natural "$width" "$height" "$rate" 2 "$coding" "$file"
            ;;
    esac
}

gallery_engine() { # HOW
    case $1 in
        v210) echo none ;;
        standin) echo stand-in ;;
        *) if have_open_engines; then echo libavcodec; else echo stand-in; fi ;;
    esac
}

# What stands below a picture: what it lost against the source in 4:2:2, or why that says nothing.
gallery_note() { # HOW CODING WIDTH HEIGHT FILE SAMPLES
    local psnr
    if [ "$1" = dv ] && ! have_open_engines; then
        echo "made up by the stand-in"
        return
    fi
    if [ "$2" = zeta-alpha ]; then
        echo "on a checkerboard"
        return
    fi
    make_pictures natural "$3" "$4" 25/1 2 zeta "$5.source"
    psnr=$(psnr_of_raw yuyv422 "$3" "$4" "$6" null "$5.source")
    if [ "$psnr" = inf ]; then echo exact; else LC_ALL=C printf '%.1f dB\n' "$psnr"; fi
}

draw_gallery_tile() { # NUMBER PICTURE TEXT
    local board="color=gray:size=480x360,geq=lum='if(mod(floor(X/20)+floor(Y/20),2),190,110)':cb=128:cr=128"
    printf '%s' "$3" >"$work/gallery-label"
    quiet_ffmpeg -f lavfi -i "$board" -i "$2" -frames:v 1 -update 1 -filter_complex \
        "[1]scale=480:360[p];[0][p]overlay=format=gbrp,pad=484:392:2:2:0x202020,drawtext=fontfile=$font:fontsize=13:fontcolor=white:x=10:y=369:textfile=$work/gallery-label" \
        "$work/gallery-$1.png"
}

show_gallery() {
    local entry name decoder fourcc geometry how coding width height rate format file note engine
    local number=0 tiles=() row='%-27s %-5s %-9s %-11s %-24s %s\n'
    say "One source through every decoder; PSNR is against the source as 8-bit 4:2:2"
    use_engines
    ! have_open_engines || WINEPATH="$(windows_path "$engines/../open");$WINEPATH"
    printf "$row" decoder code size engine picture file
    for entry in "${gallery[@]}"; do
        IFS='|' read -r name decoder fourcc geometry how <<<"$entry"
        name=${name// /}
        read -r width height rate <<<"$geometry"
        read -r how coding <<<"$how"
        file=$work/gallery-$name.avi
        [ "$how" != dv ] || file=$work/gallery-$name.dv
        make_gallery_clip "$how" "$coding" "$width" "$height" "$rate" "$file"
        format=yuy2
        [ "$coding" != zeta-alpha ] || format=argb32
        run_nyxhost decode "$file" --format "$format" --out "$out" --raw "$work/samples" >/dev/null ||
            die "nyxhost could not decode $file"
        note=$(gallery_note "$how" "$coding" "$width" "$height" "$file" "$work/samples")
        engine=$(gallery_engine "$how")
        printf "$row" "$decoder" "$fourcc" "${width}x$height" "$engine" "$note" \
            "out/gallery-$name-$format-00001.png"
        draw_gallery_tile $number "$out/gallery-$name-$format-00001.png" \
            "$decoder   $fourcc   engine: $engine   $note"
        tiles+=(-i "$work/gallery-$number.png")
        number=$((number + 1))
    done
    use_no_engines
    quiet_ffmpeg "${tiles[@]}" -filter_complex \
        "[0][1][2]hstack=3[a];[3][4][5]hstack=3[b];[6][7][8]hstack=3[c];[a][b][c]vstack=3" \
        -frames:v 1 -update 1 -q:v 4 "$out/gallery.jpg"
}
