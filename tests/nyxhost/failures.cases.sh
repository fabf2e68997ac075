# Every failure has its message and its exit code.

# 2: the input is missing or cannot be read.
run 2 decode missing.avi
says "cannot open missing.avi"
run 2 info .
run 2 wrap missing.raw new.avi --fourcc Q210 --size 720x486 --bits 20 --rate 25/1 --frame-bytes 1
head -c 933121 clip.v210 >odd.v210
run 2 wrap odd.v210 new.avi --fourcc Q210 --size 720x486 --bits 20 --rate 25/1 --frame-bytes 933120
says "no whole number of frames"

# 3: no AVI with video in it.
echo "no film" >text.avi
run 3 decode text.avi
says "is not an AVI file"
: >empty.avi
run 3 decode empty.avi
for size in 100 3000 1500000; do
    head -c $size clip.avi >cut.avi
    run 3 info cut.avi
    says "is cut short"
done
cp clip.avi unfinished.avi
at=$(grep -abo idx1 unfinished.avi | tail -n 1 | cut -d: -f1)
printf 'JUNK' | dd of=unfinished.avi bs=1 seek="$at" conv=notrunc status=none
run 3 decode unfinished.avi
says "has no index"
quiet_ffmpeg -f lavfi -i sine -t 0.1 -f avi sound.avi
run 3 decode sound.avi
says "has no video stream"
truncate -s 2200000000 large.avi
run 3 decode large.avi
says "2^31"

# 5: the decoder is there but refuses the output or the clip.
run 5 decode clip.avi --format argb32
says "Rokka Q210 Decoder takes the clip but does not deliver argb32"
wrap_as() { # FILE OPTION VALUE...: the same frames, said to be something else
    local file=$1
    shift
    run 0 wrap clip.v210 "$file" --fourcc Q210 --rate 25/1 --frame-bytes 933120 "$@"
}
wrap_as odd.avi --size 719x486 --bits 20
run 5 decode odd.avi --raw out.raw
says "Rokka Q210 Decoder refuses the clip's format"
wrap_as deep.avi --size 720x486 --bits 30
run 5 bench deep.avi

# 6: frames that cannot be decoded; the others are.
wrap_as short.avi --size 720x488 --bits 20
run 6 decode short.avi --raw out.raw
says "frame 0 could not be decoded: E_FAIL"
says "frame 2 could not be decoded: E_FAIL"
holds "nothing is written for frames that fail" test ! -s out.raw
cp info.avi broken.avi
at=$(grep -abo INFO broken.avi | sed -n 2p | cut -d: -f1)
printf '\xff\xff\xff\xff' | dd of=broken.avi bs=1 seek=$((at + 4)) conv=notrunc status=none
run 6 decode broken.avi --format yuy2 --raw out.raw
says "frame 1 could not be decoded: E_FAIL"
holds "the frames around a broken one are decoded" \
    test "$(stat -c %s out.raw)" = $((720 * 486 * 2 * 2))
run 6 info broken.avi
says "could not be decoded: E_FAIL"
run 6 info broken.avi --json
says '"error": "E_FAIL (0x80004005)"'

# 7: the output cannot be written.
run 7 decode clip.avi --out text.avi
says "text.avi"
run 7 decode clip.avi --raw missing/out.raw
says "cannot create missing/out.raw"
mkdir -p taken/clip-rgb32-00001.png
run 7 decode clip.avi --format rgb32 --out taken
says "cannot write"
holds "pictures before the failing one are kept" test -s taken/clip-rgb32-00000.png
run 7 wrap clip.v210 missing/new.avi --fourcc Q210 --size 720x486 --bits 20 --rate 25/1 \
    --frame-bytes 933120
says "cannot create missing/new.avi"

# 8: an AVI must stay below 2^31 bytes.
truncate -s 2240000000 large.v210
run 8 wrap large.v210 new.avi --fourcc Q210 --size 720x486 --bits 20 --rate 25/1 \
    --frame-bytes 1120000
says "2^31"
holds "no half file is left" test ! -e new.avi
