# Every failure has its exit code and its message and leaves no file.
patch() { # FILE OFFSET BYTES
    printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}
cp clip.avi odd.avi
patch odd.avi 176 "$(words 719)" # the width in the stream's format
cp clip.avi tall.avi
patch tall.avi 180 "$(words 488)" # its height, beyond what the frames hold
cp clip.avi same.avi
cp info.avi broken.avi
at=$(grep -abo INFO broken.avi | tail -n 2 | head -n 1 | cut -d: -f1)
patch broken.avi $((at + 4)) '\xff\xff\xff\xff'
echo "no film" >text.avi
quiet_ffmpeg -f lavfi -i sine -t 0.1 -f avi audio.avi
: >empty.mxf
quiet_ffmpeg -f lavfi -i testsrc2 -t 0.2 -c:v mpeg4 mpeg4.avi
quiet_ffmpeg -f lavfi -i testsrc2=s=720x576:r=25 -t 1 -c:v mpeg2video group.mxf
mkdir -p taken/clip-rgb32-00001.png
head -c $((720 * 480 * 12)) /dev/zero >pictures.raw
raw="--size 720x480 --rate 25/1"

use_engines
while IFS='|' read -r code arguments text; do
    run "$code" $arguments
    says "$text"
done <<TABLE
0|help decode|12 --from past the clip's end
1||Subcommands:
1|decod clip.avi|unknown command "decod"; did you mean decode?
1|decode clip.avi --frmaes 2|unknown option --frmaes; did you mean --frames?
1|decode clip.avi --format yv12|yv12
1|decode clip.avi --from soon|--from
1|decode clip.avi --raw - --hash|only one of
1|encode pictures.raw none.avi --rgb24 --size 720x480|need
1|settings Q210 color_space=2|color_space=2
1|encode pictures.raw none.avi --rgb24 --size 720x480 --rate 25/0|--rate
1|encode pictures.raw none.avi --rgb24 --quant 3 $raw|--quant
1|encode clip.avi none.avi --preset 1 --quant 5|the custom one
2|decode missing.avi|cannot open missing.avi
2|render missing.avi|cannot open missing.avi
2|info NUL|not a file on a disk
2|encode missing.avi none.avi|missing.avi
2|encode pictures.raw none.avi --rgb24 ${raw/720/721}|not a whole number of pictures
3|decode text.avi|neither AVI,
3|info audio.avi|no video
3|decode empty.mxf|empty file
3|decode mpeg4.avi|MPEG-4 part 2 video
3|render group.mxf|long-GOP MPEG-2; intra frames only
5|decode clip.avi --format argb32|accepts the clip but does not deliver argb32
5|decode odd.avi --raw none.avi|Rokka Q210 Decoder refuses the clip's format
5|decode clip.avi --audio none.avi|no audio
5|encode pictures.raw none.avi --rgb32 $raw|accepts 32-bit pictures only with alpha: --argb
5|encode pictures.raw none.avi --rgb24 ${raw/720/240}|refuses rgb24 pictures of 240x480
6|decode tall.avi --raw tall.raw|has no complete frame
6|decode broken.avi --format yuy2 --raw out.raw|frame 1 could not be decoded: E_FAIL
6|info broken.avi --frames 3|could not be decoded: E_FAIL (0x80004005)
7|decode clip.avi --out text.avi|text.avi
7|decode clip.avi --raw missing/out.raw|cannot create missing/out.raw
7|decode clip.avi --format rgb32 --out taken|cannot create
7|encode clip.avi missing/out.avi|cannot create missing/out.avi
7|encode same.avi same.avi|same.avi is also the input
7|decode same.avi --raw same.avi|same.avi
12|decode clip.avi --from 3f|has 3 frames and ends before --from
12|play clip.avi --from 0:09|ends before --from
12|encode pictures.raw none.avi --rgb24 $raw --from 4f|has 4 frames
TABLE
holds "the frames around a broken one are decoded" test "$(stat -c %s out.raw)" = $((720 * 486 * 2 * 2))
holds "a clip is not replaced by itself" cmp -s same.avi clip.avi
holds "pictures before the failing one are kept" test -s taken/clip-rgb32-00000.png

# A full disk, here a limit on the size of files: the reason is reported and no partial file is left.
trap '' XFSZ
ulimit -Sf 20
for output in "decode tape.dv --raw" "decode tape.dv --audio" "decode clip.avi --out" "encode clip.avi"; do
    run 7 $output full
    says "cannot write full"
    says "Disk full"
    holds "no partial file after $output" test -z "$(find . -path './full*' -type f)"
    rm -rf full
done
ulimit -Sf unlimited
for arguments in list "decode clip.avi --raw -"; do
    code=0
    run_nyxhost $arguments >/dev/full 2>said || code=$?
    holds "a full standard output is reported" test $code = 7
done

use_no_engines
for arguments in "encode clip.avi none.avi" properties "decode tape.dv" "render tape.mxf"; do
    run 11 $arguments
    says "cannot be created: engine missing or too old, rk" ".dll (not found)"
done
holds "regsvr32 /u" register nyxcodecs /u
run 4 encode clip.avi none.avi
says 'no video compressor "Rokka Zeta Encoder" is registered'
holds "a failed run leaves no file" test ! -e none.avi
