#!/usr/bin/env bash
# nyxhost_test.sh NYXHOST.EXE NYXCODECS.DLL ENGINES [CASES...]: makes clips with ffmpeg, plays them through the
# registered module and compares pictures, messages and exit codes. Ends with the number of failures.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
here=$(cd "$(dirname "$0")" && pwd)
nyxhost=$1
module=$2
engines=$3
shift 3
cases=("$@")
if [ ${#cases[@]} = 0 ]; then
    cases=(list info decode encode failures)
    # Where they were built.
    [ ! -e "$engines/../open/rkdvh.dll" ] || cases+=(open_engines)
fi

export LC_ALL=C.UTF-8 # file names outside ASCII
start_wine
cd "$(mktemp -d "$WINEPREFIX/test.XXXXXX")" # goes with the prefix

checks=0
failures=0

fail() {
    failures=$((failures + 1))
    printf 'FAILED: %s\n' "$*"
}

# run CODE ARGUMENT...: nyxhost must end with that exit code; what it said is in $said.
run() {
    local expected=$1 code=0
    shift
    checks=$((checks + 1))
    said=$(run_nyxhost "$@" 2>&1 | tr -d '\r'; exit "${PIPESTATUS[0]}") || code=$?
    last="nyxhost $*"
    [ "$code" = "$expected" ] || fail "$last: exit code $code, not $expected; it said: $said"
}

# says TEXT: the last run said that.
says() {
    checks=$((checks + 1))
    [[ $said == *"$1"* ]] || fail "$last: did not say '$1' but: $said"
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
    [ "$2" = inf ] || { [[ $2 =~ ^[0-9.]+$ ]] && awk "BEGIN { exit !($2 >= $1) }"; } ||
        fail "$3: $2 dB, not $1"
}

register() { # register [/u]
    wine regsvr32 /s "$@" "$(windows_path "$module")" </dev/null
}

# What most cases use: three frames without and with "INFO" chunks.
make_q210 natural 720 486 30000/1001 3 clip
add_info_chunks clip 720 486 30000/1001 info.avi 1,8,9 0,1,1 -1,0,0

for name in "${cases[@]}"; do
    say "$name"
    . "$here/$name.cases.sh"
done
printf '%d checks, %d failures\n' "$checks" "$failures"
exit $((failures > 0))
