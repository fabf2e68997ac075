# RGB of real files through both modules and the open engines, against ffmpeg, whose scaler rounds differently; and
# what goes through pipes.
WINEPATH=$(windows_path "$open_engines") NYX_OPEN_ENGINES=exact
export WINEPATH NYX_OPEN_ENGINES
decoding="-flags bitexact -idct simple"
while read -r file; do
    for entry in "${footage[@]}"; do
        [[ $entry == "$file "* ]] || continue
        read -r _ size rate _ pixels coding sound_as <<<"$entry"
        make_footage . "$file" "$size" "$rate" 2 "$pixels" "$coding" "$sound_as"
        run 0 decode "$file" --format rgb24 --raw samples
        read -r _ psnr <<<"$(psnr_of_footage "$file" "$size" rgb24 samples)"
        at_least 65 "$psnr" "$file as RGB"
    done
done <<'FILES'
DV25-525.mov
DVCPROHD-720p50.mxf
v210-720.avi
FILES
hashes() { grep -v '^#'; }
holds "ffmpeg's document of hashes" diff <(run_nyxhost decode DVCPRO50-525.mxf --format yuy2 --hash 2>/dev/null | hashes) \
    <(quiet_ffmpeg $decoding -i DVCPRO50-525.mxf -map v -vf format=yuyv422 -f framemd5 - | hashes)
run_nyxhost decode DVCPRO50-525.mxf --format yuy2 --raw - >piped 2>said
run 0 decode DVCPRO50-525.mxf --format yuy2 --raw samples --audio sound.wav
holds "the standard output has the file's bytes" cmp piped samples
run_nyxhost decode DVCPRO50-525.mxf --audio - 2>said | cat >piped.wav
holds "a piped WAV file has the same audio" cmp <(quiet_ffmpeg -i piped.wav -f wav -) <(quiet_ffmpeg -i sound.wav -f wav -)
decoding=
unset NYX_OPEN_ENGINES
use_no_engines
