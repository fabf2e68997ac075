# The player, driven by keys: a snapshot of the frame stepped to, at the display aspect; full screen and back.
# The clip lasts half an hour.
if ! command -v xdotool >/dev/null; then
    say "play: skipped, since xdotool is not installed"
    return 0
fi
becomes() { # WHAT COMMAND...: holds within minutes
    local tries
    for ((tries = 0; tries < 600; tries++)); do
        "${@:2}" && break
        kill -0 $player 2>/dev/null || break
        sleep 0.2
    done
    holds "$@"
}
appears() { # TITLE: its window is $id
    id=$(xdotool search --onlyvisible --name "^$1" 2>/dev/null | head -n 1)
    [ -n "$id" ]
}
has_ended() { ! kill -0 $player 2>/dev/null; }
size_is() { xdotool getwindowgeometry "$id" | grep -q "Geometry: $1"; }

make_q210 natural 720 486 1/600 3 slow
wine "$nyxhost" play slow.avi --out shots </dev/null >said 2>&1 &
player=$!
becomes "the clip's window" appears slow.avi
becomes "486 lines at 4:3" size_is 648x486
xdotool windowfocus --sync "$id" key End Home period s
becomes "a snapshot of the second frame" test -s shots/slow-00001.png
becomes "the title says so" appears "slow.avi: saved slow-00001.png"
xdotool key f
becomes "full screen" size_is "$(xdotool getdisplaygeometry | tr ' ' x)"
xdotool key t Escape
becomes "the window again" size_is 648x486
xdotool key comma s Escape
becomes "the player's end" has_ended
kill $player 2>/dev/null || true
code=0
wait $player || code=$?
holds "the player ends with 0, not $code" test "$code" = 0
holds "a frame back" test -s shots/slow-00000.png

run 0 decode slow.avi --from 1f --frames 1 --square --out squares
pixels_of() { quiet_ffmpeg -i "$1" -f rawvideo -pix_fmt bgr24 -; }
holds "the snapshot is the frame on square pixels" cmp <(pixels_of shots/slow-00001.png) <(pixels_of squares/*.png)
