# Draws sheets of pictures with ffmpeg: used by scripts/demo. Needs clips.sh and $work.

# Appends a text to `texts`, by way of a file, in which nothing needs quoting.
sheet_text() { # FONT SIZE COLOUR X Y TEXT
    sheet_texts=$((${sheet_texts:-0} + 1))
    printf '%s' "$6" >"$work/text-$sheet_texts"
    texts+=",$(card_text "${@:1:5}" "expansion=none:line_spacing=7:textfile=$work/text-$sheet_texts")"
}

# Draws the pictures of the array `tiles` in COLUMNS, each TILE_WIDTH by 9/16 of it; below each its
# entry of `titles`, the 16x12 pixels in its middle, as stored, eight times as large, and beside them the lines
# of its entry of `notes`. A place whose tile is "" stays blank. `column_names` and `row_names`, which may be
# empty, label the columns and rows. A checkerboard shows through transparent pictures.
draw_sheet() { # FILE COLUMNS TILE_WIDTH TITLE SUBTITLE FOOTER [FFMPEG-OPTION...]
    local columns=$2 wide=$3 high=$(($3 * 9 / 16)) margin=44 gap=24 bright=0xe8eaec quiet=0x98a2ac
    local rows=$(((${#tiles[@]} + $2 - 1) / $2)) left=$((44 + (${#row_names[@]} ? 152 : 0)))
    local top=$((136 + (${#column_names[@]} ? 36 : 0))) pitch=$((high + 166)) inputs=() parts="" paste="" texts="" last=page
    local height=$((top + rows * pitch + 40)) width=$((left + columns * (wide + gap) - gap + margin)) i x y n
    for i in "${!tiles[@]}"; do
        x=$((left + i % columns * (wide + gap))) y=$((top + i / columns * pitch)) n=$((${#inputs[@]} / 2))
        if [ -z "${tiles[i]}" ]; then
            paste+=";[$last]drawbox=$x:$y:$wide:$high:0x1b1e22:fill[s$i]"
        else
            inputs+=(-i "${tiles[i]}")
            parts+=";[$n]format=rgba,split[f$i][e$i];[f$i]scale=$wide:$high:flags=area[f$i]"
            parts+=";[e$i]crop=16:12,scale=128:96:flags=neighbor[e$i]"
            paste+=";[$last][board$((2 * n))]overlay=$x:$y:format=rgb[s];[s][f$i]overlay=$x:$y:format=rgb[s]"
            paste+=";[board$((2 * n + 1))]crop=128:96:0:0[s0];[s][s0]overlay=$x:$((y + high + 38)):format=rgb[s]"
            paste+=";[s][e$i]overlay=$x:$((y + high + 38)):format=rgb[s$i]"
            sheet_text Sans-Bold 16 $bright "$x" $((y + high + 10)) "${titles[i]}"
            sheet_text Sans 15 $quiet $((x + 142)) $((y + high + 53)) "${notes[i]}"
        fi
        last=s$i
    done
    sheet_text Sans-Bold 34 $bright $margin 36 "$4"
    sheet_text Sans 18 $quiet $margin 84 "$5"
    sheet_text Sans 16 $quiet $margin $((height - 52)) "$6"
    for i in "${!column_names[@]}"; do
        sheet_text Sans-Bold 20 0xffb400 $((left + i * (wide + gap))) $((top - 32)) "${column_names[i]}"
    done
    for i in "${!row_names[@]}"; do
        sheet_text Sans-Bold 20 0xffb400 $margin $((top + i * pitch + 4)) "${row_names[i]}"
    done
    n=${#inputs[@]}
    quiet_ffmpeg "${inputs[@]}" -filter_complex "color=0x15171a:${width}x$height,trim=end_frame=1,format=rgb24[page];
        nullsrc=${wide}x$high,trim=end_frame=1,format=gray,geq='if(mod(floor(X/20)+floor(Y/20),2),190,110)',
        format=rgb24,split=$n$(printf '[board%d]' $(seq 0 $((n - 1))))$parts$paste;[$last]null$texts" \
        -frames:v 1 -update 1 "${@:7}" "$1"
}
