# Makes test clips and compares pictures: used by scripts/demo and by tests of nyxhost. Needs ffmpeg.
# Functions that run nyxhost or a stand-in need a running Wine and $nyxhost, the path of nyxhost.exe.

. "$root/scripts/card.sh"

# No progress, no questions, errors only.
quiet_ffmpeg() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

run_nyxhost() { wine "$nyxhost" "$@" </dev/null; }

# A path as Wine names it: drive Z is the root.
windows_path() {
    local path
    path=$(realpath -m "$1")
    echo "Z:${path//\//\\}"
}

# Lets programs find the engine libraries of $engines, or of a subfolder of it, by their bare names.
use_engines() { # [SUBFOLDER]
    WINEPATH=$(windows_path "$engines/${1:-}")
    export WINEPATH
}
use_no_engines() { unset WINEPATH; }

# The matrix of a size: BT.709 from 960x720 on, else BT.601.
matrix_of() { # WIDTH HEIGHT
    if [ "$1" -ge 960 ] && [ "$2" -ge 720 ]; then echo bt709; else echo bt601; fi
}

# An ffmpeg source: "bars" has hard edges, saturated colours and moving text, "zoneplate" sweeps through
# all frequencies, "natural" has soft shapes, gradients and grain; "card" is the test card.
source_filter() { # KIND WIDTH HEIGHT RATE
    local width=$2 height=$3 size=${2}x$3 waves soft
    case $1 in
        card) card_source "$2" "$3" "$4" ;;
        bars) echo "testsrc2=size=$size:rate=$4,format=gbrp" ;;
        zoneplate)
            waves="g='128+100*sin(hypot(X-W/2,Y-H/2)^2/W+N)':b='128+100*sin(X/90+N/9)':r='128+100*cos(Y/70)'"
            echo "nullsrc=size=$size:rate=$4,format=gbrp,geq=$waves"
            ;;
        natural)
            soft="c0=0x2050a0:c1=0xe0b070:x0=0:y0=0:x1=$((width - 1)):y1=$((height - 1)):speed=0.01:seed=1"
            echo "mandelbrot=size=$size:rate=$4:maxiter=500,format=gbrp[m]"
            echo ";gradients=size=$size:rate=$4:$soft,format=gbrp[g]"
            echo ";[m][g]blend=all_mode=average,gblur=sigma=1.5,noise=alls=4:all_seed=7"
            ;;
        *) die "unknown source: $1" ;;
    esac
}

# Resamples chroma from or to the 4:2:0 of 625/50 DV (IEC 61834-2): line-sequential in each field, Cr on its
# even lines and Cb on its odd ones. A scaler sites both alike, so each gets its own scaler.
resample_dv_chroma() { # in|out PIXELS SCALER-OPTIONS
    local scale="scale=interl=1:$3:$1_v_chr_pos"
    echo "split[cr][cb];[cr]$scale=0,format=$2[cr];[cb]$scale=256,format=$2[cb];[cr][cb]mergeplanes=0x001102:$2"
}

# Rounds 10 bits to 8. Without dither the scaler truncates, so the low bits are made zero first.
round_to_8_bits() { # SCALER-OPTIONS
    local nearest="'min(floor((val+2)/4)*4,1020)'"
    echo "lutyuv=$nearest:$nearest:$nearest,scale=sws_dither=none:$1,format=yuv422p"
}

# Converts a source to a coding's pixels, with the chroma sited as its standard has it.
to_coding() { # CODING PIXELS WIDTH HEIGHT
    local scaler="out_color_matrix=$(matrix_of "$3" "$4"):out_range=tv:out_h_chr_pos=0:flags=accurate_rnd+bicubic"
    case $1-$2 in
        dv-yuv420p) resample_dv_chroma out "$2" "$scaler" ;;
        *) echo "scale=$scaler,format=$2" ;;
    esac
}

# Makes 10-bit frames: FILE.avi with our FourCC, and FILE.v210, the frames alone.
make_q210() { # KIND WIDTH HEIGHT RATE FRAMES FILE
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "$(to_coding v210 yuv422p10le "$2" "$3")" -c:v v210 -tag:v Q210 -strict unofficial "$6.avi"
    quiet_ffmpeg -c:v v210 -i "$6.avi" -c copy -f rawvideo "$6.v210"
}

# The chunk that may precede a frame: tag, length, two words for the codec, the pixel aspect, and the field
# order (0 top first, 1 bottom first, 2 progressive, -1 unspecified) as a nested chunk.
info_chunk() { # FIELD ASPECT_X ASPECT_Y
    local field=
    [ "$1" = -1 ] || field="FIEL$(words 4 "$1")"
    printf "INFO$(words $(($1 == -1 ? 16 : 28)) 0 0 "$2" "$3")$field"
}
words() { # NUMBER...: 32-bit little-endian, as escapes for printf
    local word
    for word in "$@"; do
        printf '\\x%02x' $((word & 255)) $((word >> 8 & 255)) $((word >> 16 & 255)) $((word >> 24 & 255))
    done
}

# Makes an AVI of FILE.v210 whose frames begin with chunks, each given as FIELD,X,Y and used in turn.
add_info_chunks() { # FILE WIDTH HEIGHT RATE AVI CHUNK...
    local size=${2}x$3 rate=$4 avi=$5 bytes=$((($2 + 47) / 48 * 128 * $3)) i=0 folder frame chunks
    folder=$(mktemp -d)
    split -b $bytes -d -a 3 "$1.v210" "$folder/"
    shift 5
    chunks=("$@")
    for frame in "$folder"/*; do
        info_chunk ${chunks[i % $#]//,/ } | cat - "$frame" >"$frame.v210"
        i=$((i + 1))
    done
    frames_to_avi Q210 "$size" "$rate" "$folder/%03d.v210" "$avi"
    rm -r "$folder"
}

# Makes an AVI with one of our FourCCs from files of one frame each.
frames_to_avi() { # FOURCC SIZE RATE PATTERN AVI
    quiet_ffmpeg -loglevel fatal -f image2 -c:v v210 -video_size "$2" -framerate "$3" -i "$4" \
        -c copy -tag:v "$1" -strict unofficial "$5"
    # The bits per pixel of 10-bit frames, in the stream's header.
    [ "$1" != Q210 ] || printf '\x14' | dd of="$5" bs=1 seek=186 conv=notrunc status=none
}

# Makes raw DV with ffmpeg; a single thread keeps the two frames of a 720-line pair in order.
make_dv() { # KIND WIDTH HEIGHT RATE FRAMES PIXELS FILE
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "$(to_coding dv "$6" "$2" "$3"),setdar=16/9" -threads 1 -c:v dvvideo -f rawvideo "$7"
}

# Makes an AVI of MPEG-2 intra frames, and FILE.m2v of the frames alone. Of CODED_HEIGHT lines the decoder
# shows HEIGHT; the hidden ones, at the top, are red.
make_mpeg_intra() { # KIND WIDTH HEIGHT CODED_HEIGHT RATE FRAMES FILE [ENCODER-OPTION...]
    local kind=$1 width=$2 height=$3 coded=$4 rate=$5 frames=$6 file=$7 folder
    shift 7
    folder=$(mktemp -d)
    quiet_ffmpeg -f lavfi -i "$(source_filter "$kind" "$width" "$height" "$rate")" -frames:v "$frames" \
        -vf "$(to_coding mpeg yuv422p "$width" "$height"),pad=$width:$coded:0:$((coded - height)):red" \
        -c:v mpeg2video -g 1 -q:v 2 -threads 1 "$@" -f image2 -c:v mpeg2video "$folder/%03d.m2v"
    cat "$folder"/*.m2v >"$file.m2v"
    frames_to_avi QMIC "${width}x$height" "$rate" "$folder/%03d.m2v" "$file"
    rm -r "$folder"
}

# ffmpeg's name for the input pixels of a coding of $engines/standin_encode.exe.
coding_pixels() { # CODING
    case $1 in
        zeta | zeta2 | lossless-yuy2 | mpeg2) echo yuyv422 ;;
        lossless-rgb24) echo bgr24 ;;
        zeta-alpha | zeta2-alpha | lossless-rgb32 | lossless-argb32) echo bgra ;;
        *) die "unknown coding: $1" ;;
    esac
}

# Makes raw pictures of a source for a coding. Alpha rises from clear at the left edge to opaque at the
# right one, in 16 steps.
make_pictures() { # KIND WIDTH HEIGHT RATE FRAMES CODING FILE
    local pixels last=null
    pixels=$(coding_pixels "$6")
    [ "$pixels" != yuyv422 ] ||
        last="scale=out_color_matrix=$(matrix_of "$2" "$3"):out_range=tv:out_h_chr_pos=0:flags=accurate_rnd+bicubic"
    [[ $6 != *alpha && $6 != *argb32 ]] ||
        last="format=gbrap,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='17*floor(16*X/W)'"
    quiet_ffmpeg -f lavfi -i "$(source_filter "$1" "$2" "$3" "$4")" -frames:v "$5" \
        -vf "$last,format=$pixels" -an -f rawvideo "$7"
}

# Encodes raw pictures with a stand-in engine.
make_standin_clip() { # CODING WIDTH HEIGHT RATE PICTURES AVI [QUANT [EXTRA-LINES]]
    wine "$engines/standin_encode.exe" "$1" "${2}x$3" "${@:4}" </dev/null >/dev/null ||
        die "the stand-in engine cannot encode $1"
}

# The PSNR in dB between two files of raw pictures, "inf" when they are equal: the average, or that of
# $component. ORIENTATION, null or vflip, makes the first one upright.
psnr_of_raw() { # PIXELS WIDTH HEIGHT DECODED ORIENTATION ORIGINAL
    ffmpeg -nostdin -hide_banner -loglevel info \
        -f rawvideo -pixel_format "$1" -video_size "${2}x$3" -i "$4" \
        -f rawvideo -pixel_format "$1" -video_size "${2}x$3" -i "$6" \
        -lavfi "[0]$5[a];[a][1]psnr" -f null - 2>&1 |
        sed -n "s/.*PSNR.* ${component:-average}:\([^ ]*\) .*/\1/p"
}

# ffmpeg's name for the samples of nyxhost decode --raw, and the filter that makes them upright.
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

# The average PSNR in dB between nyxhost's raw samples and ffmpeg's conversion of the same v210 frames;
# "inf" when they are equal. ffmpeg, like the decoder, first rounds to 8 bits and interpolates chroma
# linearly, sited on the even pixels.
psnr_against_ffmpeg() { # FORMAT WIDTH HEIGHT SAMPLES V210
    local format=$1 size=${2}x$3 compared=yuv422p own scaler=flags=accurate_rnd+full_chroma_int+bilinear
    own=$(round_to_8_bits "$scaler")
    if [ "$format" != yuy2 ]; then
        compared=gbrp
        own+=",scale=in_color_matrix=$(matrix_of "$2" "$3"):in_range=tv:out_range=pc:in_h_chr_pos=0:$scaler"
    fi
    ffmpeg -nostdin -hide_banner -loglevel info \
        -f rawvideo -pixel_format "$(raw_format "$format")" -video_size "$size" -i "$4" \
        -f v210 -video_size "$size" -i "$5" -lavfi \
        "[0]$(raw_orientation "$format"),format=$compared[a];[1]$own,format=$compared[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([^ ]*\) .*/\1/p'
}
