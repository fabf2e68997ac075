# Clips of real material and pictures to hold against: used by scripts/demo and by tests of nyxhost.
# Needs ffmpeg; wrapping needs a running Wine and $nyxhost, the path of nyxhost.exe.

# No progress, no questions, errors only.
quiet_ffmpeg() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

run_nyxhost() { wine "$nyxhost" "$@" </dev/null; }

windows_path() { wine winepath -w "$1" </dev/null | tr -d '\r'; }

# Lets programs find the engine libraries of $engines, or of a subfolder of it, by their bare names.
use_engines() { # [SUBFOLDER]
    WINEPATH=$(windows_path "$engines/${1:-}")
    export WINEPATH
}
use_no_engines() { unset WINEPATH; }

# v210 stores rows in blocks of 48 pixels and 128 bytes.
v210_frame_bytes() { # WIDTH HEIGHT
    echo $((($1 + 47) / 48 * 128 * $2))
}

# The matrix that goes with a size: BT.709 from 960x720 on, else BT.601.
matrix_of() { # WIDTH HEIGHT
    if [ "$1" -ge 960 ] && [ "$2" -ge 720 ]; then echo bt709; else echo bt601; fi
}

# An ffmpeg source of one of three kinds: "bars" has hard edges, saturated colours and moving text,
# "zoneplate" sweeps through all frequencies, "natural" has soft shapes, gradients and grain.
source_filter() { # KIND WIDTH HEIGHT RATE
    local size=${2}x$3
    case $1 in
        bars) echo "testsrc2=size=$size:rate=$4,format=gbrp" ;;
        zoneplate)
            echo "nullsrc=size=$size:rate=$4,format=gbrp,geq=g='128+100*sin(hypot(X-W/2,Y-H/2)^2/W+N)':b='128+100*sin(X/90+N/9)':r='128+100*cos(Y/70)'"
            ;;
        natural)
            echo "mandelbrot=size=$size:rate=$4:maxiter=500,format=gbrp[m];gradients=size=$size:rate=$4:c0=0x2050a0:c1=0xe0b070:x0=0:y0=0:x1=$(($2 - 1)):y1=$(($3 - 1)):speed=0.01:seed=1,format=gbrp[g];[m][g]blend=all_mode=average,gblur=sigma=1.5,noise=alls=4:all_seed=7"
            ;;
        *) die "no such kind of source: $1" ;;
    esac
}

make_v210() { # KIND WIDTH HEIGHT RATE FRAMES FILE
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "scale=out_color_matrix=$(matrix_of "$2" "$3"):out_range=tv:out_h_chr_pos=0:flags=accurate_rnd+bicubic,format=yuv422p10le" \
        -an -c:v v210 -f rawvideo "$6"
}

wrap_q210() { # RAW WIDTH HEIGHT RATE AVI [--info FIELD,X,Y]...
    local raw=$1 width=$2 height=$3 rate=$4 avi=$5
    shift 5
    run_nyxhost wrap "$raw" "$avi" --fourcc Q210 --bits 20 --size "${width}x$height" \
        --rate "$rate" --frame-bytes "$(v210_frame_bytes "$width" "$height")" "$@" >/dev/null
}

# Raw DV as ffmpeg codes it; one thread keeps the two frames of a 720-line pair in turn.
make_dv() { # KIND WIDTH HEIGHT RATE FRAMES PIXELS FILE
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "scale=out_color_matrix=$(matrix_of "$2" "$3"):out_range=tv,setdar=16/9" -pix_fmt "$6" \
        -threads 1 -c:v dvvideo -f rawvideo "$7"
}

# MPEG-2 intra frames in an AVI for our decoder, WIDTH by HEIGHT in lines as shown of CODED_HEIGHT
# coded ones; the lines at the top, which nobody shall see, are red. Zero bytes bring all frames to
# one length, as the standard allows behind a picture. FILE.m2v holds the frames alone.
make_mpeg_intra() { # KIND WIDTH HEIGHT CODED_HEIGHT RATE FRAMES FILE [ENCODER-OPTION...]
    local kind=$1 width=$2 height=$3 coded=$4 rate=$5 frames=$6 file=$7 folder frame longest=0
    shift 7
    folder=$(mktemp -d)
    quiet_ffmpeg -f lavfi -i "$(source_filter "$kind" "$width" "$height" "$rate")" -frames:v "$frames" \
        -vf "scale=out_color_matrix=$(matrix_of "$width" "$height"):out_range=tv,format=yuv422p,pad=$width:$coded:0:$((coded - height)):red" \
        -c:v mpeg2video -g 1 -q:v 2 -threads 1 "$@" -f image2 -c:v mpeg2video "$folder/%03d.m2v"
    for frame in "$folder"/*.m2v; do
        [ "$(stat -c %s "$frame")" -le $longest ] || longest=$(stat -c %s "$frame")
    done
    truncate -s "$longest" "$folder"/*.m2v
    cat "$folder"/*.m2v >"$file.m2v"
    rm -r "$folder"
    run_nyxhost wrap "$file.m2v" "$file" --fourcc QMIC --bits 24 --size "${width}x$height" \
        --rate "$rate" --frame-bytes "$longest" >/dev/null
}

# What a coding of $engines/standin_encode.exe is made of and goes into: ffmpeg's name for the
# pictures, the stream's FourCC and its bits.
standin_coding() { # CODING
    case $1 in
        zeta) echo yuyv422 QZTA 24 ;;
        zeta-alpha) echo bgra QZTA 32 ;;
        zeta2) echo yuyv422 QZT2 24 ;;
        zeta2-alpha) echo bgra QZT2 32 ;;
        lossless-yuy2) echo yuyv422 QLLC 24 ;;
        lossless-rgb24) echo bgr24 QLLC 24 ;;
        lossless-rgb32) echo bgra QLLC 24 ;;
        lossless-argb32) echo bgra QLLC 32 ;;
        mpeg2) echo yuyv422 QMIC 24 ;;
        *) die "no such coding: $1" ;;
    esac
}

# Raw pictures of a source as a coding takes them. With alpha: clear at the left edge, opaque at the
# right one, by steps of a sixteenth of the width.
make_pictures() { # KIND WIDTH HEIGHT RATE FRAMES CODING FILE
    local pixels last=null
    read -r pixels _ _ <<<"$(standin_coding "$6")"
    [ "$pixels" != yuyv422 ] ||
        last="scale=out_color_matrix=$(matrix_of "$2" "$3"):out_range=tv:out_h_chr_pos=0:flags=accurate_rnd+bicubic"
    [[ $6 != *alpha && $6 != *argb32 ]] ||
        last="format=gbrap,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='17*floor(16*X/W)'"
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "$last,format=$pixels" -an -f rawvideo "$7"
}

# A clip of raw pictures, coded by a stand-in engine.
make_standin_clip() { # CODING WIDTH HEIGHT RATE PICTURES AVI [QUANT [EXTRA-LINES]]
    local said
    said=$(wine "$engines/standin_encode.exe" "$1" "${2}x$3" "$5" "$6.frames" "${@:7}" </dev/null |
        tr -d '\r') || die "no frames of $1: $said"
    read -r _ fourcc bits <<<"$(standin_coding "$1")"
    run_nyxhost wrap "$6.frames" "$6" --fourcc "$fourcc" --bits "$bits" --size "${2}x$3" --rate "$4" \
        --frame-bytes "$(sed -n 's/.* frames of \([0-9]*\) bytes/\1/p' <<<"$said")" >/dev/null
    rm "$6.frames"
}

# The PSNR in dB between two files of raw pictures, "inf" when they are the same: the average, or that
# of $component. ORIENTATION turns the first one upright: null or vflip.
psnr_of_raw() { # PIXELS WIDTH HEIGHT DECODED ORIENTATION ORIGINAL
    ffmpeg -nostdin -hide_banner -loglevel info \
        -f rawvideo -pixel_format "$1" -video_size "${2}x$3" -i "$4" \
        -f rawvideo -pixel_format "$1" -video_size "${2}x$3" -i "$6" \
        -lavfi "[0]$5[a];[a][1]psnr" -f null - 2>&1 |
        sed -n "s/.*PSNR.* ${component:-average}:\([^ ]*\) .*/\1/p"
}

# ffmpeg's name for the samples that nyxhost decode --raw writes, and what turns them upright.
raw_format() { # FORMAT
    case $1 in
        yuy2) echo yuyv422 ;;
        rgb24) echo bgr24 ;;
        rgb32) echo bgr0 ;;
        argb32) echo bgra ;;
    esac
}
raw_orientation() { # FORMAT
    if [ "$1" = yuy2 ]; then echo null; else echo vflip; fi
}

# The average PSNR, in dB over all frames, between nyxhost's raw samples and ffmpeg's own conversion
# of the same v210 frames; "inf" when they are the same. ffmpeg is told what the decoder does too:
# chroma sits on the even pixels and is interpolated linearly.
psnr_against_ffmpeg() { # FORMAT WIDTH HEIGHT SAMPLES V210
    local format=$1 size=${2}x$3 compared=gbrp own
    own="scale=in_color_matrix=$(matrix_of "$2" "$3"):in_range=tv:out_range=pc:in_h_chr_pos=0:flags=accurate_rnd+full_chroma_int+bilinear"
    if [ "$format" = yuy2 ]; then
        compared=yuv422p
        own="scale=flags=accurate_rnd+bilinear"
    fi
    ffmpeg -nostdin -hide_banner -loglevel info \
        -f rawvideo -pixel_format "$(raw_format "$format")" -video_size "$size" -i "$4" \
        -f v210 -video_size "$size" -i "$5" -lavfi \
        "[0]$(raw_orientation "$format"),format=$compared[a];[1]$own,format=$compared[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([^ ]*\) .*/\1/p'
}
