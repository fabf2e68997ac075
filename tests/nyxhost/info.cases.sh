# What the decoder finds in each frame, through VIDEOINFOHEADER2 and the samples' flags.
row() { # INDEX BYTES ORDER FLAGS ASPECT FIELD1: a row of the table, whatever its spaces
    checks=$((checks + 1))
    tr -s ' ' <<<"$said" | grep -qE "^ ?$1 $2 yes $3 $4 $5 $6( new type)? ?\$" ||
        fail "$last: no row '$*' in: $said"
}

# Without chunks the tables of sizes and rates decide: 720x486 at 29.97 is interlaced, 648:720.
run 0 info clip.avi
says "decoder: Rokka Q210 Decoder"
for frame in 0 1 2; do
    row $frame 933120 "top first" 0xA5 4:3 set
done

# With chunks each frame tells; without a field order the tables decide, and an aspect of 0:0 is
# reported as it is.
for option in "" --videoinfo2; do
    run 0 info info.avi $option
    row 0 933156 "bottom first" 0xA1 320:243 clear
    row 1 933156 "top first" 0xA5 40:27 set
    row 2 933144 "top first" 0xA5 0:0 set
done

# At a rate that is in no table frames are progressive.
wrap_q210 clip.v210 720 486 24/1 film.avi
run 0 info film.avi --frames 1
row 0 933120 progressive 0x00 4:3 clear

run 0 info info.avi --json --frames 2
says '"field_order": "bottom first"'
says '"interlace_flags": 161'
says '"field1_first": true'
says '"type_changed": true'
if [[ $said == *'"index": 2'* ]]; then fail "$last: more than two frames"; fi
