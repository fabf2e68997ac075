# Real DV and MPEG-2 footage through the open engines, for scripts/demo. Needs clips.sh, a running Wine
# with the module registered, and the open engines in $engines.

# Makes each clip in folder WORK, decodes it to RGB24 pictures in OUT, prints a row for it, and adds
# the picture to the arrays `tiles` and `labels`. PSNR is against ffmpeg's decode of the same frame.
show_open_clips() { # WORK OUT
    local work=$1 out=$2 row='%-18s %-9s %-24s %8s %11s  %s\n'
    use_engines
    # shellcheck disable=SC2059
    printf "$row" clip size decoder "ms/frame" "PSNR in dB" picture
    open_dv DV25-525 720 480 30000/1001 yuv411p
    open_dv DV25-625 720 576 25/1 yuv420p
    open_dv DVCPRO25-625 720 576 25/1 yuv411p
    open_dv DVCPRO50-525 720 480 30000/1001 yuv422p
    open_dv DVCPRO50-625 720 576 25/1 yuv422p
    open_dv DVCPROHD-1080i60 1280 1080 30000/1001 yuv422p
    open_dv DVCPROHD-720p50 960 720 50/1 yuv422p
    open_mpeg MPEG2-625 720 576 608 25/1
    open_mpeg MPEG2-1080 1920 1080 1088 25/1
    use_no_engines
}

open_dv() { # NAME WIDTH HEIGHT RATE PIXELS
    make_dv natural "$2" "$3" "$4" 2 "$5" "$work/$1.dv"
    show_open_clip "$1" "$2" "$3" "$work/$1.dv" "$work/$1.dv" null
}

open_mpeg() { # NAME WIDTH HEIGHT CODED-HEIGHT RATE
    make_mpeg_intra natural "$2" "$3" "$4" "$5" 2 "$work/$1.avi" -flags +ildct -intra_vlc 1
    show_open_clip "$1" "$2" "$3" "$work/$1.avi" "$work/$1.avi.m2v" "crop=$2:$3:0:$(($4 - $3))"
}

show_open_clip() { # NAME WIDTH HEIGHT CLIP THEIR-CLIP THEIR-FILTER
    local text picture=$1-rgb24-00000.png decoder psnr
    text=$(run_nyxhost decode "$4" --format rgb24 --out "$out") || die "nyxhost: $text"
    decoder=$(sed -n 's/^decoder: \(.*\), delivers.*/\1/p' <<<"$text")
    psnr=$(ffmpeg -nostdin -hide_banner -i "$out/$picture" -threads 1 -i "$5" -lavfi \
        "[0]format=gbrp[a];[1]$6,trim=end_frame=1,scale=in_color_matrix=$(matrix_of "$2" "$3"):in_range=tv:out_range=pc:in_h_chr_pos=0:interl=-1:flags=accurate_rnd+full_chroma_int+bilinear,format=gbrp[b];[a][b]psnr" \
        -frames:v 1 -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([^ ]*\) .*/\1/p')
    # shellcheck disable=SC2059
    printf "$row" "$1" "${2}x$3" "$decoder" \
        "$(sed -n 's/.*writing, \([0-9.]*\) ms per frame.*/\1/p' <<<"$text")" "$psnr" "out/$picture"
    tiles+=("$out/$picture")
    labels+=("$1   ${2}x$3   open engine")
}
