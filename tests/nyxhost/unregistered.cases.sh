# Nothing is registered yet.
run 4 list
says "nothing registered"
run 4 decode clip.avi --raw out.raw
says 'no decoder is registered for "Q210"'
holds "no output is left where nothing was decoded" test ! -e out.raw
run 4 bench clip.avi

# The clip itself can be described all the same.
run 4 info clip.avi
says "Q210, 720x486, 20 bits, 29.970 frames per second, 3 frames"
says 'no decoder is registered for "Q210"'
run 4 info clip.avi --json
says '"decoder": null'
says '"bytes": 933120'
