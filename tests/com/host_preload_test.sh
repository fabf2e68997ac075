#!/usr/bin/env bash
# host_preload_test.sh WINE-RUN FOLDER: which siblings the module keeps loaded in which host. FOLDER has the
# module, a small host and a small sibling that logs when it comes and goes. Ends with the number of failures.
set -euo pipefail
wine_run=$1
built=$2
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
failures=0

# expect LOG HOST SIBLINGS [ARGUMENT]: what a host of that name makes those siblings log begins with LOG; an
# end of "." is the log's.
expect() {
    rm -f "$folder"/*
    cp "$built/nyxcodecs.dll" "$folder"
    cp "$built/preload_host.exe" "$folder/$2.exe"
    for sibling in $3; do
        cp "$built/preload_sibling.dll" "$folder/$sibling.dll"
    done
    touch "$folder/log"
    (cd "$folder" && NYX_PRELOAD_LOG=log "$wine_run" "$2.exe" ${4:-}) || {
        failures=$((failures + 1))
        echo "FAILED: $2.exe ended with another exit code than 0"
    }
    local log
    log="$(tr -d '\r' <"$folder/log" | tr A-Z a-z | xargs)."
    [[ $log == "$1"* ]] || {
        failures=$((failures + 1))
        printf 'FAILED: in %s.exe they logged: %s\nnot: %s\n' "$2" "$log" "$1"
    }
}

all="rkdv5codc rkllccodc rkzcodc rkdvccodc rkdvhcodc rkz2codc rk210codc"
loads="" frees=""
for name in $all; do
    loads+="+$name.dll "
    frees="-$name.dll $frees"
done
expect "$loads${frees% }." pCEMAVREl "$all"
expect "." PceMavrel2 "$all"
# A missing one is passed over.
expect "+rkllccodc.dll +rkdvhcodc.dll -rkdvhcodc.dll -rkllccodc.dll." PceMavrel "rkdvhcodc rkllccodc"
# A host that just ends ends well.
expect "${loads% }" PceMavrel "$all" stay
exit "$failures"
