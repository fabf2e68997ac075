# Real files through both modules and the open engines, against ffmpeg. In exact mode both use the same inverse
# transform: 4:2:2 pictures and the audio are equal bit by bit. For RGB, ffmpeg's scaler rounds differently.
WINEPATH=$(windows_path "$open_engines") NYX_OPEN_ENGINES=exact
export WINEPATH NYX_OPEN_ENGINES
decoding="-flags bitexact -idct simple"
footage+=("MPEG2-420.mxf 720x576 25/1 2 yuv420p mpeg s16le") # no camera's, but chroma between the lines
while read -r file format bound; do
    for entry in "${footage[@]}"; do
        [[ $entry == "$file "* ]] || continue
        read -r _ size rate _ pixels coding sound_as <<<"$entry"
        make_footage . "$file" "$size" "$rate" 2 "$pixels" "$coding" "$sound_as"
        run 0 decode "$file" --format "$format" --raw samples --audio sound.wav
        compare_footage "$file" "$size" "$format" .
        at_least "$bound" "$psnr" "$file as $format"
        [ $format = rgb24 ] || at_least inf "$luma" "$file: luma"
        holds "$file: $sound" test "${sound##*, }" = equal
    done
done <<'FILES'
DV25-625.avi         yuy2  inf
DVCPRO25-625.dv      yuy2  inf
DVCPRO50-525.mxf     yuy2  inf
DVCPROHD-1080i60.mov yuy2  inf
D10-525.gxf          yuy2  inf
MPEG2-1080.mxf       yuy2  inf
MPEG2-420.mxf        yuy2  inf
DV25-525.mov         rgb24 65
DVCPROHD-720p50.mxf  rgb24 65
v210-720.avi         rgb24 65
FILES
word() { od -A n -t u4 -j "$1" -N 4 sound.wav | tr -d ' '; }
holds "a WAV file has its lengths and rates" test "$(word 4) $(word 24) $(word 28) $(word 42)" = \
    "$(($(stat -c %s sound.wav) - 8)) 48000 192000 $(($(stat -c %s sound.wav) - 46))"
quiet_ffmpeg -i DVCPRO50-525.mxf -map 0 -map 0:a -c copy two.mxf
run 0 decode two.mxf --audio two.wav
holds "each audio stream has its file" cmp two.wav two-2.wav
# The system finds the splitters.
quiet_ffmpeg -f lavfi -i "$(source_filter card 1920 1080 25)" -frames:v 2 -pix_fmt yuv422p -c:v mpeg2video -g 1 intra.m2v
while read -r file splitter; do
    run 0 render $file
    says "filter: Nyx $splitter Footage Splitter" "2 pictures"
done <<'FILES'
DV25-625.avi         AVI
v210-720.avi         AVI
DV25-525.mov         MOV
DVCPROHD-1080i60.mov MOV
DVCPRO25-625.dv      Raw
intra.m2v            Raw
FILES
decoding=
unset NYX_OPEN_ENGINES
use_no_engines
