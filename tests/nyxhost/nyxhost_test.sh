#!/usr/bin/env bash
# nyxhost_test.sh BIN ENGINES [CASES...]: what nyxhost_test cannot show on another system, with ffmpeg, python and
# Unix's pipes, signals and limits, through the registered modules of folder BIN. ENGINES has the folders standin and open.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
. "$root/scripts/footage.sh"
here=$(cd "$(dirname "$0")" && pwd)
nyxhost=$1/nyxhost.exe
modules=$1
engines=$2/standin
open_engines=$2/open
shift 2
[ $# -gt 0 ] || set -- info decode play footage encode failures

unset DISPLAY # one of its own: no other test's window takes the player's keys
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

cp "$root"/build/material/nyxhost/* .
holds "regsvr32" register nyxcodecs
holds "regsvr32" register nyxsource

for name in "$@"; do
    say "$name"
    . "$here/$name.cases.sh"
done
printf '%d checks, %d failures\n' "$checks" "$failures"
exit $((failures > 0))
