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

run 0 info reel.dv --summary
holds "its events" diff - <(document 0 "[(e['event'], e['frame']) for e in d['summary']['events']]" reel.dv --summary) \
    <<<"[('damage', 1), ('timecode', 5), ('recording', 5), ('picture', 5)]"
