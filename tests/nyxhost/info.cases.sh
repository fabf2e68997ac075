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
    "bottom first, 4:3 (pixels 648:720)" "1602 samples, unlocked" "timecode 01:02:03;08" \
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
quiet_ffmpeg -i tape.dv -metadata creation_time=1975-12-31T23:59:58Z -c:v dvvideo -frames:v 1 old.dv
run 11 info old.dv
says "recorded 1975-12-31 23:59:58"

# One document in the form that the schema describes, with ffprobe's values.
document() { # CODE PYTHON ARGUMENT...: prints the value of an expression of `d`, the document of `info`
    local code=0
    run_nyxhost info "${@:3}" --json >document.json 2>said || code=$?
    [ $code = "$1" ] && python3 -c "import json, jsonschema; d = json.load(open('document.json')); v = d['video']
jsonschema.validate(d, json.load(open('$root/docs/info-schema.json'))); print($2)"
}
holds "ffprobe's values" diff <(ffprobe -loglevel error -count_packets -select_streams v -of csv=p=0 -show_entries \
    stream=width,height,display_aspect_ratio,r_frame_rate,nb_read_packets:format_tags=timecode tape.mxf | xargs) \
    <(document 11 "f'{v[\"width\"]},{v[\"height\"]},{v[\"aspect\"][\"container\"]},{v[\"rate\"]},{v[\"frames\"]}',
        d['timecode']['start']" tape.mxf)
holds "the frame's word before the container's, and the peaks" diff - <(document 11 \
    "v['scan']['says'], v['scan']['value'], v['scan']['container'], d['frames'][1]['dv']['timecode'], d['audio'][0]['peak_dbfs']" \
    tape.mxf --frames 2) <<<"frame bottom first top first 01:02:03;05 [-21.07, -21.07]" # ffmpeg's astats: -21.0728
holds "pictures" diff - <(document 0 "[f['picture']['scan'] for f in d['frames']], v['aspect']['says'], d['timecode']" \
    info.avi --frames 2) <<<"['bottom first', 'top first'] container None"

# A tape: two dropped numbers at the minute, damaged video blocks, then another recording.
quiet_ffmpeg -i tape.dv -timecode '01:02:59;27' -c:v dvvideo -aspect 16:9 reel.dv
cat old.dv >>reel.dv
for block in 1507 1524 3149; do # of 1500 a frame
    printf '\x2f' | dd of=reel.dv bs=1 seek=$((80 * block + 3)) conv=notrunc status=none
done
run 0 info reel.dv --summary
says "1  damage     frames: 2, blocks: 3" "5  timecode   01:03:00;03 -> 01:02:03;04" "16:9 (pixels 864:720) -> DVCPRO25"
holds "its events" diff - <(document 0 "[(e['event'], e['frame']) for e in d['summary']['events']]" reel.dv --summary) \
    <<<"[('damage', 1), ('timecode', 5), ('recording', 5), ('picture', 5)]"
