# Every failure has its exit code and its message, and leaves no file.
patch() { # FILE OFFSET BYTES
    printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}
# As it may be said, but not be played: an odd width, more lines than there are.
cp clip.avi odd.avi
patch odd.avi 176 "$(words 719)"
cp clip.avi short.avi
patch short.avi 180 "$(words 488)"
echo "no film" >text.avi
: >empty.avi
head -c 3000 clip.avi >cut.avi
cp clip.avi unfinished.avi
at=$(grep -abo idx1 unfinished.avi | tail -n 1 | cut -d: -f1)
patch unfinished.avi "$at" JUNK
cp info.avi broken.avi
at=$(grep -abo INFO broken.avi | tail -n 2 | head -n 1 | cut -d: -f1)
patch broken.avi $((at + 4)) '\xff\xff\xff\xff'
quiet_ffmpeg -f lavfi -i sine -t 0.1 -f avi sound.avi
truncate -s 2200000000 large.avi
mkdir -p taken/clip-rgb32-00001.png
cp rgb24.avi same.avi
encoder="--rgb24 --size 720x480 --rate 25/1"

use_engines
while IFS='|' read -r code arguments text; do
    run "$code" $arguments
    says "$text"
done <<TABLE
0|--help|Exit codes:
0|decode --help|--raw
1||subcommand
1|enhance clip.avi|
1|decode|clip is required
1|decode clip.avi --format yv12|yv12
1|decode clip.avi --frames 0|
1|info clip.avi --colour|
1|encode pictures.raw none.avi --rgb24 --size 720x480|need both --size and --rate
1|encode pictures.raw none.avi --size 720x480 --rate 25/1|--argb
1|encode rgb24.avi none.avi --rgb24 --argb|
1|encode rgb24.avi none.avi --preset 5|
1|encode rgb24.avi none.avi --quant 3|
1|encode rgb24.avi none.avi --max-size 101|
1|encode rgb24.avi none.avi --preset 1 --quant 5|the custom one
2|decode missing.avi|cannot open missing.avi
2|info .|
2|encode missing.avi none.avi|
2|encode pictures.raw none.avi ${encoder/720/721}|no whole number of pictures
3|decode text.avi|is not an AVI file
3|decode empty.avi|
3|info cut.avi|is cut short
3|decode unfinished.avi|has no index
3|decode sound.avi|has no video stream
3|decode large.avi|2^31
5|decode clip.avi --format argb32|takes the clip but does not deliver argb32
5|decode odd.avi --raw none.avi|Rokka Q210 Decoder refuses the clip's format
5|encode argb.avi none.avi --rgb32|takes 32-bit pictures only with alpha: --argb
5|encode argb.avi none.avi|refuses rgb32 pictures
5|encode rgb24.avi none.avi --yuy2|holds rgb24 pictures, not yuy2
5|encode clip.avi none.avi|no pictures that can be encoded but Q210
5|encode pictures.raw none.avi ${encoder/720/240}|refuses rgb24 pictures of 240x480
6|decode short.avi --raw short.raw|frame 2 could not be decoded: E_FAIL
6|decode broken.avi --format yuy2 --raw out.raw|frame 1 could not be decoded: E_FAIL
6|info broken.avi --json|"error": "E_FAIL (0x80004005)"
7|decode clip.avi --out text.avi|text.avi
7|decode clip.avi --raw missing/out.raw|cannot create missing/out.raw
7|decode clip.avi --format rgb32 --out taken|cannot write
7|encode rgb24.avi missing/out.avi|cannot create missing/out.avi
7|encode same.avi same.avi|
TABLE
holds "nothing is written for frames that fail" test ! -s short.raw
holds "the frames around a broken one are decoded" test "$(stat -c %s out.raw)" = $((720 * 486 * 2 * 2))
holds "pictures before the failing one are kept" test -s taken/clip-rgb32-00000.png
holds "pictures are not replaced by their own clip" cmp -s rgb24.avi same.avi

use_no_engines
for arguments in "encode rgb24.avi none.avi" properties; do
    run 5 $arguments
    says "cannot be created"
done
holds "regsvr32 /u" register /u
run 4 encode rgb24.avi none.avi
says 'no video compressor "Rokka Zeta Encoder" is registered'
holds "regsvr32" register
holds "nothing is left where nothing was made" test ! -e none.avi
