# Makes files like those of cameras and editors with ffmpeg, and compares nyxhost's decoding with ffmpeg's:
# used by scripts/demo and by tests of nyxhost. Needs clips.sh.

# File, shown size, rate, frames, pixels, coding, stored audio.
footage=(
    "DV25-625.avi         720x576   25/1       25 yuv420p     dv   s16le"
    "DV25-525.mov         720x480   30000/1001 30 yuv411p     dv   s16be"
    "DV25-525.mxf         720x480   30000/1001 10 yuv411p     dv   s24le"
    "DV25-625.dif         720x576   25/1       10 yuv420p     dv   s16le"
    "DVCPRO25-625.avi     720x576   25/1       10 yuv411p     dv   s16le"
    "DVCPRO25-625.mov     720x576   25/1       10 yuv411p     dv   s16le"
    "DVCPRO25-625.mxf     720x576   25/1       10 yuv411p     dv   s16le"
    "DVCPRO25-625.dv      720x576   25/1       25 yuv411p     dv   s16le"
    "DVCPRO50-625.mov     720x576   25/1       25 yuv422p     dv   s16le"
    "DVCPRO50-525.mxf     720x480   30000/1001 30 yuv422p     dv   s24le"
    "DVCPRO50-625.dv      720x576   25/1       10 yuv422p     dv   s16le"
    "DVCPROHD-1080i60.mov 1280x1080 30000/1001 6  yuv422p     dv   s24le"
    "DVCPROHD-720p50.mxf  960x720   50/1       10 yuv422p     dv   s16le"
    "DVCPROHD-1080i50.dif 1440x1080 25/1       5  yuv422p     dv   s16le"
    "D10-625.mxf          720x576   25/1       25 yuv422p     d10  s16le"
    "D10-525.gxf          720x486   30000/1001 30 yuv422p     d10  mono"
    "MPEG2-1080.mxf       1920x1080 25/1       5  yuv422p     mpeg s24le"
    "MPEG2-525.gxf        720x480   30000/1001 10 yuv422p     mpeg mono"
    "MPEG2-1080.m2v       1920x1080 25/1       5  yuv422p     mpeg none"
    "v210-1080.mov        1920x1080 25/1       5  yuv422p10le v210 s24le"
    "v210-720.avi         1280x720  50/1       6  yuv422p10le v210 s16le"
)

# Two tones with noise, so that a single lost or moved sample shows.
sound_source="aevalsrc=exprs=0.4*sin(2000*t)+0.05*random(0)|0.4*sin(3000*t)+0.05*random(1):s=48000"

# The lines that D-10 codes, including those above the picture.
coded_lines() { # HEIGHT
    if [ "$1" = 576 ]; then echo 608; else echo 512; fi
}

# Makes a file with the test card, or $picture_kind, in 16:9, whose timecode starts as the card's clock does. The
# lines that D-10 codes above the picture are red; no decoder shows them.
make_footage() { # FOLDER FILE SIZE RATE FRAMES PIXELS CODING SOUND
    local file=$1/$2 width=${3%x*} height=${3#*x} rate=$4 sound=(-c:a "pcm_$8") coded=${3#*x} fields=bb coding
    case $7 in
        dv)
            [ "$height" -lt 720 ] || fields=$([ "$height" = 720 ] && echo progressive || echo tt)
            coding=(-c:v dvvideo -threads 1 -field_order $fields)
            ;;
        v210) coding=(-c:v v210) ;;
        mpeg) coding=(-c:v mpeg2video -g 1 -flags +ildct -top 1 -q:v 2 -threads 1) ;;
        film) coding=(-c:v mpeg2video -g 1 -q:v 2 -threads 1) ;; # whole frames
        d10) # SMPTE 356M: 50 Mbit/s
            coded=$(coded_lines "$height")
            coding=(-c:v mpeg2video -g 1 -flags +ildct+low_delay -top 1 -intra_vlc 1 -non_linear_quant 1
                -dc 10 -ps 1 -qmin 1 -qmax 12 -b:v 50000k -minrate 50000k -maxrate 50000k -bufsize 2000000
                -rc_init_occupancy 2000000)
            [[ $2 != *.mxf ]] || coding+=(-f mxf_d10)
            ;;
    esac
    case $8 in
        mono) sound=(-c:a pcm_s16le -ac 1) ;;
        none) sound=(-an) ;;
    esac
    [[ $2 != *.dif ]] || coding+=(-f dv)
    quiet_ffmpeg -loglevel fatal -f lavfi -i "$(source_filter "${picture_kind:-card}" "$width" "$height" "$rate")" \
        -f lavfi -i "$sound_source" -t "$(awk "BEGIN { print $5 / ($rate) }")" \
        -vf "$(to_coding "$7" "$6" "$width" "$height"),pad=$width:$coded:0:$((coded - height)):red,setdar=16/9" \
        -timecode 01:00:00:00 "${coding[@]}" "${sound[@]}" "$file"
}

# Compares nyxhost's output for a file, WORK/samples in FORMAT and WORK/sound.wav, with ffmpeg's. Sets $psnr and
# $luma, in dB, and $sound, in words.
compare_footage() { # FILE SIZE FORMAT WORK
    read -r luma psnr <<<"$(psnr_of_footage "$1" "$2" "$3" "$4/samples")"
    sound=$(compare_sound "$1" "$4/sound.wav" "$4")
}

# An ffmpeg filter that makes the shown 8-bit 4:2:2 pictures of a file.
footage_scaler=flags=bilinear+accurate_rnd+full_chroma_int:in_h_chr_pos=0:out_h_chr_pos=0
to_shown_422() { # FILE SIZE
    local height=${2#*x} own
    case $(ffprobe -loglevel error -select_streams v -show_entries stream=codec_name,pix_fmt -of csv=p=0 "$1") in
        dvvideo,yuv420p) own=$(resample_dv_chroma in yuv422p "$footage_scaler") ;;
        *,yuv422p10le) own=$(round_to_8_bits "$footage_scaler") ;;
        *) own=scale=$footage_scaler:interl=-1,format=yuv422p ;;
    esac
    echo "crop=iw:$height:0:ih-$height,$own"
}

# The PSNR between raw samples and ffmpeg's decode of all pictures of a file: of the first component, luma or
# red, and of all three. $decoding has options for ffmpeg's decoder.
psnr_of_footage() { # FILE SIZE FORMAT SAMPLES
    local reference=$(as_decoded "$1" "$2" "$3")
    ffmpeg -nostdin -hide_banner -f rawvideo -pixel_format "$(raw_format "$3")" -video_size "$2" -i "$4" \
        -threads 1 ${decoding:-} -i "$1" -lavfi \
        "[0]$(raw_orientation "$3"),format=${reference##*=},settb=1/25,setpts=N[a];[1:v]$reference,settb=1/25,setpts=N[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*PSNR [yr]:\([^ ]*\) .* average:\([^ ]*\) .*/\1 \2/p'
}

# Filters that make ffmpeg's pictures of a file what the decoders give as FORMAT, in planes: first 8-bit 4:2:2, with
# the standard's chroma siting. Lines above a D-10 picture are cropped.
as_decoded() { # FILE SIZE FORMAT
    local width=${2%x*} height=${2#*x} to=yuv422p own
    own=$(to_shown_422 "$1" "$2")
    if [ "$3" != yuy2 ]; then
        to=gbrp
        own+=,scale=$footage_scaler:in_color_matrix=$(matrix_of "$width" "$height"):in_range=tv:out_range=pc
    fi
    echo "$own,format=$to"
}

# Compares the first audio stream of a file with a WAV: "48000 samples of 16 bits, equal", or the number that
# differ; "none" without audio.
compare_sound() { # FILE WAV WORK
    local bits count
    if [ ! -e "$2" ] && [ -z "$(ffprobe -loglevel error -select_streams a -show_entries stream=index -of csv=p=0 "$1")" ]; then
        echo none
        return
    fi
    bits=$(ffprobe -loglevel error -show_entries stream=bits_per_sample -of csv=p=0 "$2")
    quiet_ffmpeg -loglevel fatal -i "$1" -i "$2" -map 0:a:0 -f "s${bits}le" "$3/theirs" -map 1:a -f "s${bits}le" "$3/ours"
    count=$(($(stat -c %s "$3/ours") * 8 / bits))
    printf '%d samples of %d bits, ' $count "$bits"
    if [ "$(stat -c %s "$3/theirs")" != "$(stat -c %s "$3/ours")" ]; then
        echo "ffmpeg has $(($(stat -c %s "$3/theirs") * 8 / bits))"
    elif cmp -s "$3/theirs" "$3/ours"; then
        echo equal
    else
        echo "$(cmp -l "$3/theirs" "$3/ours" | awk "{ print int((\$1 - 1) * 8 / $bits) }" | uniq | wc -l) differ"
    fi
}
