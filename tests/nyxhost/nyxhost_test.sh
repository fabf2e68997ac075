#!/usr/bin/env bash
# nyxhost_test.sh BIN ENGINES [CASES...]: makes clips with ffmpeg, plays them through the registered modules of
# folder BIN and compares pictures, sound, messages and exit codes. ENGINES has the folders standin and open.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
. "$root/scripts/footage.sh"
here=$(cd "$(dirname "$0")" && pwd)
nyxhost=$1/nyxhost.exe
modules=$1
engines=$2/standin
open_engines=$2/open
shift 2
[ $# -gt 0 ] || set -- list info decode play footage encode failures

export LC_ALL=C.UTF-8 # file names outside ASCII
start_wine
cd "$(mktemp -d "$WINEPREFIX/test.XXXXXX")" # goes with the prefix

checks=0
failures=0

fail() {
    failures=$((failures + 1))
    printf 'FAILED: %s\n' "$*"
}

# run CODE ARGUMENT...: nyxhost must exit with this code; its output is in $said.
run() {
    local expected=$1 code=0
    shift
    checks=$((checks + 1))
    said=$(run_nyxhost "$@" 2>&1 | tr -d '\r'; exit "${PIPESTATUS[0]}") || code=$?
    last="nyxhost $*"
    [ "$code" = "$expected" ] || fail "$last: exit code $code, not $expected; it said: $said"
}

# says TEXT...: the last run printed all of them.
says() {
    local text
    for text in "$@"; do
        checks=$((checks + 1))
        [[ $said == *"$text"* ]] || fail "$last: did not say '$text' but: $said"
    done
}

# holds WHAT COMMAND...: the command succeeds.
holds() {
    local what=$1
    shift
    checks=$((checks + 1))
    "$@" || fail "$what"
}

# at_least BOUND VALUE WHAT: both in dB, "inf" included.
at_least() {
    checks=$((checks + 1))
    [ "$2" = inf ] || { [ "$1" != inf ] && [[ $2 =~ ^[0-9.]+$ ]] && awk "BEGIN { exit !($2 >= $1) }"; } ||
        fail "$3: $2 dB, not $1"
}

register() { # MODULE [/u]
    wine regsvr32 /s "${@:2}" "$(windows_path "$modules/$1.dll")" </dev/null
}

# For most cases: three frames without and with "INFO" chunks.
make_q210 natural 720 486 30000/1001 3 clip
add_info_chunks clip 720 486 30000/1001 info.avi 1,8,9 0,1,1 -1,0,0
# DV, whose frames have their own data.
quiet_ffmpeg -f lavfi -i "testsrc2=r=30000/1001:s=720x480" -f lavfi -i sine=r=48000 -t 0.2 -ac 2 \
    -pix_fmt yuv411p -c:v dvvideo -aspect 4:3 -timecode '01:02:03;04' \
    -metadata creation_time=2074-05-06T07:08:09Z tape.dv
quiet_ffmpeg -i tape.dv -c copy tape.mxf

for name in "$@"; do
    say "$name"
    . "$here/$name.cases.sh"
done
printf '%d checks, %d failures\n' "$checks" "$failures"
exit $((failures > 0))
