# Files of 16:9 as the system's shell shows them: used by scripts/demo. Needs clips.sh, sheet.sh, sizes.sh and $work.

# Has a program that is not ours find the handlers of files and draw a sheet of what they give. Both word sizes must
# give the same. The files have different names.
show_thumbnails() { # SHEET FILE...
    local preset sheet=$1 columns=4 wide=256 high=144 gap=32 margin=44 pitch=284 x y i=0 line
    local last=page inputs=() paste="" texts="" said
    shift
    for preset in "${presets[@]}"; do
        mkdir -p "$work/shown-$preset"
        (cd "$work/shown-$preset" && by "$preset" wine "$root/build/$preset/bin/association_host.exe" $wide "$@" </dev/null | tr -d '\r' >said) ||
            die "a file has no thumbnail or no properties in $preset"
    done
    diff -rq "$work"/shown-{win32,win64} >&2 || die "32 and 64 bits show files differently"
    while IFS= read -r line; do
        # FILE: duration, size, rate, coding, bit rate, channels; comment
        x=$((margin + i % columns * (wide + gap))) y=$((136 + i / columns * pitch))
        inputs+=(-i "$work/shown-win32/${line%%:*}.bmp")
        paste+=";[$last][$i]overlay=$x+($wide-w)/2:$y+$high-h:format=rgb[s$i]"
        last=s$i
        sheet_text Sans-Bold 16 0xe8eaec $x $((y + high + 12)) "${line%%:*}"
        sheet_text Sans 14 0x98a2ac $x $((y + high + 36)) \
            "$(sed -E 's/^[^:]*: (([^,]*, ){2}[^,]*), ([^;]*); /\1\n\3\n/; s/(Timecode .*); /\1\n/' <<<"$line")"
        i=$((i + 1))
    done <"$work/shown-win32/said"
    [ $i = $# ] || die "not every file is shown"
    sheet_text Sans-Bold 34 0xe8eaec $margin 36 "Files as Explorer shows them"
    sheet_text Sans 18 0x98a2ac $margin 84 "Thumbnails and properties, from the handlers that the system finds for each kind of file."
    quiet_ffmpeg "${inputs[@]}" -filter_complex "color=0x15171a:$((2 * margin + columns * (wide + gap) - gap))x$((136 + (i + columns - 1) / columns * pitch + 20)),
        trim=end_frame=1,format=rgb24[page]$paste;[$last]null$texts" -frames:v 1 -update 1 "$sheet"
}
