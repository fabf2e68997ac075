# Real files through both modules and the open engines, against ffmpeg. In exact mode both use the same inverse
# transform: 4:2:2 pictures and the audio are equal bit by bit. For RGB, ffmpeg's scaler rounds differently.
WINEPATH=$(windows_path "$open_engines") NYX_OPEN_ENGINES=exact
export WINEPATH NYX_OPEN_ENGINES
decoding="-flags bitexact -idct simple"
# Signals that the demonstration has not; the last two, no camera's, have chroma between the lines.
footage+=("DVCPROHD-720p60.mov 960x720 60000/1001 3 yuv422p dv s16le"
    "MPEG2-420.mxf 720x576 25/1 2 yuv420p mpeg s16le" "MPEG2-progressive.mxf 98x66 25/1 2 yuv420p film s16le")
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
DV25-525.mov         yuy2  inf
DVCPRO25-625.dv      yuy2  inf
DVCPRO50-525.mxf     yuy2  inf
DVCPRO50-625.dv      yuy2  inf
DVCPROHD-1080i60.mov yuy2  inf
DVCPROHD-1080i50.dif yuy2  inf
DVCPROHD-720p50.mxf  yuy2  inf
DVCPROHD-720p60.mov  yuy2  inf
D10-525.gxf          yuy2  inf
MPEG2-1080.mxf       yuy2  inf
MPEG2-420.mxf        yuy2  inf
MPEG2-progressive.mxf yuy2 inf
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
hashes() { grep -v '^#'; }
quiet_hash() { quiet_ffmpeg "$@" -f framemd5 - | hashes; }
for file in D10-525.gxf DVCPRO50-525.mxf; do
    [[ $file != D10* ]] || crop=crop=720:486:0:26,
    holds "ffmpeg's hashes of $file" diff <(run_nyxhost decode "$file" --format yuy2 --hash 2>/dev/null | hashes) \
        <(quiet_hash $decoding -i "$file" -map v -vf "${crop:-}format=yuyv422")
    crop=
done
run_nyxhost decode DVCPRO50-525.mxf --format yuy2 --raw - >piped 2>said
run 0 decode DVCPRO50-525.mxf --format yuy2 --raw samples --audio sound.wav
holds "the standard output has the file's bytes" cmp piped samples
run_nyxhost decode DVCPRO50-525.mxf --audio - 2>said | cat >piped.wav
holds "a piped WAV file has the same audio" cmp <(quiet_ffmpeg -i piped.wav -f wav -) <(quiet_ffmpeg -i sound.wav -f wav -)
decoding=
unset NYX_OPEN_ENGINES
use_no_engines
