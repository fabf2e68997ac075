# RGB of real files through both modules and the open engines, against ffmpeg, whose scaler rounds differently; and
# what goes through pipes.
WINEPATH=$(windows_path "$open_engines") NYX_OPEN_ENGINES=exact
export WINEPATH NYX_OPEN_ENGINES
decoding="-flags bitexact -idct simple"
while read -r file size; do
    run 0 decode "$file" --format rgb24 --raw samples
    read -r _ psnr <<<"$(psnr_of_footage "$file" "$size" rgb24 samples)"
    at_least 65 "$psnr" "$file as RGB"
done <<'FILES'
DV25-525.mov         720x480
DVCPROHD-720p50.mxf  960x720
v210-720.avi         1280x720
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
