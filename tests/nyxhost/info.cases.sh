# The data of containers and frames, and the decoder's VIDEOINFOHEADER2 and sample flags for each frame.
row() { # INDEX BYTES ORDER FLAGS ASPECT FIELD1: a row of the table, whatever its spaces
    checks=$((checks + 1))
    tr -s ' ' <<<"$said" | grep -qE "^ ?$1 $2 yes $3 $4 $5 $6( new type)? ?\$" ||
        fail "$last: no row '$*' in: $said"
}
# Without chunks the tables of sizes and rates apply; with chunks, each frame's own data.
run 0 info clip.avi --frames 3
says "Q210, 720x486, 20 bits, 29.970 frames per second, 3 frames" "decoder: Rokka Q210 Decoder"
row 2 933120 "top first" 0xA5 4:3 set
run 0 info info.avi --frames 3
row 0 933156 "bottom first" 0xA1 320:243 clear
row 1 933156 "top first" 0xA5 40:27 set
row 2 933144 "top first" 0xA5 0:0 set

# Without a decoder the file and its frames are still described.
run 11 info tape.dv --from 4f
says "QDVC, 720x480, 24 bits" "5 frames" "audio: 2 channels, 48000 Hz, 16 bits" \
    "bottom field first, 4:3 (pixels 648:720)" "1602 samples, unlocked" "timecode 01:02:03;08" \
    "recorded 2074-05-06 07:08:09" "Rokka DV Decoder cannot be created: engine missing or too old, rkdvh.dll (not found)"
quiet_ffmpeg -i tape.dv -metadata creation_time=1975-12-31T23:59:58Z -c:v dvvideo -frames:v 1 old.dv
run 11 info old.dv
says "recorded 1975-12-31 23:59:58"
# Dates of both centuries, but no invalid ones: day, month and year of a pack, in BCD below flags.
while read -r bytes text; do
    LC_ALL=C sed "s/\x62\xff\xc6\x05\x74/\x62\xff$bytes/g" tape.dv >dated.dv
    run 11 info dated.dv
    says "recorded ${text:+$text }07:08:09"
done <<'DATES'
\xc1\xe1\x00 2000-01-01
\xf1\xf2\x74 2074-12-31
\xc6\xe5\x75 1975-05-06
\x09\x10\x99 1999-10-09
\xf2\xe5\x04
\xc0\xe5\x04
\xc6\xf3\x04
\xc6\xe0\x04
\xc6\xe5\x0a
\xc6\xe5\xa0
DATES
