# The moving test card that scripts/demo plays, as a graph of ffmpeg's filters. Needs DejaVu's fonts.

card_text() { # FONT SIZE COLOUR X Y TEXT
    echo "drawtext=fontfile=/usr/share/fonts/truetype/dejavu/DejaVu$1.ttf:fontsize=$2:fontcolor=$3:x=$4:y=$5:$6"
}

# Rectangles side by side, one per colour.
card_fields() { # X Y WIDTH HEIGHT COLOUR...
    local x=$1 colour
    for colour in "${@:5}"; do
        printf ',drawbox=%d:%d:%d:%d:0x%s:fill' "$x" "$2" "$3" "$4" "$colour"
        x=$((x + $3))
    done
}

# Lines of text, each size with and without serifs.
card_page() {
    local size y=22 words="Hamburgefonts 0123456789"
    for size in 56 44 36 28 24 20 16; do
        printf ',%s' "$(card_text SansCondensed "$size" 0x202428 20 "$y" "text='${words:0:350/size}'")" \
            "$(card_text SerifCondensed "$size" 0x202428 20 $((y + size * 4 / 3)) "text='${words:0:350/size}'")"
        y=$((y + size * 3))
    done
}

# Drawn in 1920x1080 square pixels. From the outside in: blocks along the outermost lines, which show that none
# is lost; a crosshatch; a gradient of skin tones and a page of fine text; a disc with colour bars, a zone plate
# that runs outwards around the meeting point of red and blue, grey steps and a clock. A ball circles the disc
# once a second. The still parts are drawn once and repeated. The blocks that meet in the middle keep their
# edges where WIDTH and HEIGHT divide 1920 and 1080, so that chroma edges are as sharp as a size has them.
card_source() { # WIDTH HEIGHT RATE
    local still="rate=$3,trim=end_frame=1,format=rgb24"
    cat <<GRAPH
color=black:1920x1080:$still,drawgrid=0:-60:120:4000:0xd0d0d0:60[columns];
color=black:20x1080:$still,drawgrid=-60:0:4000:120:0xd0d0d0:60,split[left][right];
color=0x262a30:1880x1040:$still,drawgrid=-21:39:120:120:0x555d67:2[hatch];
gradients=240x720:n=5:x0=0:y0=719:x1=239:y1=0:speed=0.00001
:c0=0x2b1610:c1=0x70402a:c2=0xb97a56:c3=0xe8b996:c4=0xfbe6d6:$still[skin];
color=0xece8de:240x720:$still$(card_page)[page];
color=black:980x980:$still$(card_fields 0 180 140 150 c0c0c0 c0c000 00c0c0 00c000 c000c0 c00000 0000c0)
$(card_fields 28 650 84 150 000000 191919 333333 4c4c4c 666666 7f7f7f 999999 b2b2b2 cccccc e5e5e5 ffffff),
$(card_text Sans-Bold 50 white "(w-tw)/2" 98 "text='Nyx codec module'")[bands];
color=white:980x980:$still[rim];
color=black:980x980:$still,format=gray,geq=255*clip(490-hypot(X-489.5\,Y-489.5)\,0\,1),split=4[m0][m1][m2][m3];
[rim][m0]alphamerge[rim];
[m1]scale=964:964[inside];[bands]crop=964:964[bands];[bands][inside]alphamerge[disc];
[m2]scale=964:964,crop=964:320,loop=-1:1[window];
[m3]scale=48:48[round];color=0xffb400:48x48:$still[amber];[amber][round]alphamerge,loop=-1:1[ball];
[columns][left]overlay=0:0:format=rgb[c0];[c0][right]overlay=1900:0:format=rgb[c1];
[c1][hatch]overlay=20:20:format=rgb[c2];
[c2][skin]overlay=120:180:format=rgb[c3];[c3][page]overlay=1560:180:format=rgb[c4];
[c4][rim]overlay=470:50:format=rgb[c5];[c5][disc]overlay=478:58:format=rgb,loop=-1:1[card];
color=black:964x320:rate=$3,format=gray,
geq=128+112*cos(0.0006*(pow(X-481.5\,2)+pow(Y-159.5\,2))-N*0.6),format=rgb24[rings];
[rings][window]alphamerge[zone];
[card][zone]overlay=478:380:format=rgb$(card_fields 836 416 248 248 ffffff)
$(card_fields 840 420 120 120 e00000 0000e0)$(card_fields 840 540 120 120 0000e0 e00000)[centre];
[centre][ball]overlay=x=936+486*sin(2*PI*n/($3)):y=516-486*cos(2*PI*n/($3)):format=rgb,
$(card_text SansMono-Bold 80 white "(w-tw)/2" 862 "timecode='01\\:00\\:00\\:00':rate=$3"),
$(card_text SansMono 42 white "(w-tw)/2" 950 "text='frame %{eif\\:n\\:d\\:4}'"),
scale=$1:$2:flags=area,format=gbrp
GRAPH
}
