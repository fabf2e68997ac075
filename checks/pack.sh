#!/usr/bin/env bash
# pack.sh BUILDS FOLDER: packs the suites of BUILDS/win32 and BUILDS/win64, the engines and BUILDS/material as
# FOLDER/nyx-codecs-VERSION-checks.zip, which needs nothing else to run (check.cmd).
. "$(dirname "$0")/../scripts/lib.sh"
here=$root/checks
builds=$1
folder=$2
version=$(cat "$root/VERSION")
name=nyx-codecs-$version-checks
stage=$folder/$name
rm -rf "$stage" "$stage.zip" "$stage-programs"
mkdir -p "$stage" "$stage-programs"

programs() { # PRESET MACHINE
    local build=$builds/$1 to=$stage-programs/$1 file
    mkdir -p "$to"
    cp "$build/suites.jsonl" "$to"
    for file in $(sed -n 's/.*"name": "\([^"]*\).*/bin\/\1.exe/p' "$build/suites.jsonl") \
        bin/{nyxcodecs,nyxcodecs_starved,nyxsource,nyxshell,preload_sibling}.dll bin/{nyxhost,preload_host}.exe \
        $(cd "$build" && find engines/{open,standin} -name '*.dll' -o -name standin_encode.exe); do
        mkdir -p "$to/${file%/*}"
        "$2-w64-mingw32-strip" -o "$to/$file" "$build/$file"
    done
    makensis -V2 -WX -NOCD -DSTAGE="$to" -DOUTPUT="$stage/$1.exe" "$here/unpack.nsi"
}
programs win32 i686 &
programs win64 x86_64
wait $!
i686-w64-mingw32-strip -o "$stage/checks.exe" "$builds/win32/bin/checks.exe"
sed 's/$/\r/' "$here/check.cmd" >"$stage/check.cmd"
sed 's/$/\r/' "$here/readme.txt" >"$stage/README.txt"
cp -r "$builds/material" "$stage/"
rm "$stage/material/made"
(cd "$folder" && zip -q -9 -X -r "$name.zip" "$name")
rm -rf "$stage" "$stage-programs"
[ "$(stat -c %s "$stage.zip")" -lt 40000000 ] || die "$name.zip has 40 MB or more"
