# The player, driven by keys: a file from the dialog, whose window stays at the end; a snapshot of the frame
# stepped to, at the display aspect; full screen and back.
if ! command -v xdotool >/dev/null; then
    say "play: skipped, since xdotool is not installed"
    return 0
fi
window() { # TITLE: waits for the window, unless the player has ended
    until xdotool search --onlyvisible --name "^$1" 2>/dev/null | head -n 1 | grep .; do
        kill -0 $player || return 1
        sleep 0.2
    done
}
becomes() { # WHAT COMMAND...: soon holds
    local tries
    for ((tries = 0; tries < 600; tries++)); do
        "${@:2}" && break
        sleep 0.2
    done
    holds "$@"
}
size_is() { xdotool getwindowgeometry "$id" | grep -q "Geometry: $1"; }

wine "$nyxhost" play --out shots </dev/null >said 2>&1 &
player=$!
xdotool windowfocus --sync "$(window 'Play footage')" type --delay 50 clip.avi
xdotool key Return
id=$(window clip.avi)
becomes "486 lines at 4:3" size_is 648x486
xdotool windowfocus --sync "$id" key End Home period s
becomes "a snapshot of the second frame" test -s shots/clip-00001.png
becomes "the title says so" window 'clip.avi: saved clip-00001.png' >/dev/null
xdotool key f
becomes "full screen" size_is "$(xdotool getdisplaygeometry | tr ' ' x)"
xdotool key t Escape
becomes "the window again" size_is 648x486
xdotool key comma s Escape
code=0
wait $player || code=$?
holds "the player ends with 0, not $code" test "$code" = 0
holds "a frame back" test -s shots/clip-00000.png

run 0 decode clip.avi --from 1f --frames 1 --format rgb24 --raw second.raw
quiet_ffmpeg -f rawvideo -pixel_format bgr24 -video_size 720x486 -i second.raw -vf vflip,scale=648:486:flags=bilinear \
    -f rawvideo -pix_fmt bgr24 wanted.raw
quiet_ffmpeg -i shots/clip-00001.png -f rawvideo -pix_fmt bgr24 shot.raw
at_least 40 "$(psnr_of_raw bgr24 648 486 shot.raw null wanted.raw)" "the snapshot against ffmpeg's picture"
