# The encoder's page in the system's own frame. That frame of Wine shows pages and never has them
# apply, so what a page applies is tested elsewhere; here it must show, be used and close.
frame_user() { wine "$(dirname "$nyxhost")/frame_user.exe" "Rokka Zeta Encoder" "$@" </dev/null; }
offline=1018 ok=1

use_engines
run_nyxhost properties >shown.txt 2>&1 &
shown=$!
holds "the page shows" frame_user
quiet_ffmpeg -f x11grab -video_size 1280x1024 -i "$DISPLAY" -frames:v 1 screen.png
holds "a preset and OK can be clicked" frame_user $offline $ok
holds "nyxhost properties ends with 0" wait "$shown"
said=$(tr -d '\r' <shown.txt)
last="nyxhost properties"
says "Rokka Zeta Encoder, preset 2: quantiser 5, at most 30 % of a 4:2:2 picture"
says "nothing was changed; Wine's own property frame does not apply what was chosen"

use_no_engines
run 5 properties
says "cannot be created"
