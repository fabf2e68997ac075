#!/usr/bin/env bash
# package_test.sh BUILDS PACKAGE [win32|win64]: installs what scripts/package left in folder PACKAGE in a
# Wine prefix of its own, uses it from outside, by itself and beside the stand-in engines of BUILDS, and
# takes it out again: in a prefix of 64 bits, the default, and meanwhile, in short, in one of 32.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
builds=$1
kind=${3:-win64}
version=$(cat "$root/VERSION")
setup=$2/nyx-codecs-$version-setup.exe
[ -e "$setup" ] || die "no package in $2: run scripts/package"
sizes=(win32)
steps=(by_installer taken_out)
programs='Program Files'
if [ "$kind" = win64 ]; then
    steps=(package_is_whole refused_without_ssse3 by_zip by_installer by_repair beside_closed_engines taken_out)
    programs='Program Files (x86)'
    sizes+=(win64)
    "$0" "$1" "$2" win32 &
    other=$!
fi

start_wine "$kind"
work=$(mktemp -d "$WINEPREFIX/package.XXXXXX") # goes with the prefix
cd "$work"
checks=0 failures=0
check() { # WHAT COMMAND...
    checks=$((checks + 1))
    "${@:2}" || { failures=$((failures + 1)) && printf 'FAILED in %s: %s\n' "$kind" "$1"; }
}
# COMMAND...: what it prints is in $said
ask() { said=$("$@" 2>&1 </dev/null | tr -d '\r') || true; }
says() { # TEXT...: that answer holds all of them
    local text
    for text in "$@"; do
        [[ $said == *"$text"* ]] || { printf 'without "%s": %s\n' "$text" "$said" && return 1; }
    done
}
ends() { # CODE COMMAND...
    local code=0
    "${@:2}" </dev/null >/dev/null 2>&1 || code=$?
    [ $code = "$1" ] || { printf 'exit code %d\n' $code && false; }
}
use() { # SIZE: its console program, outside, its closed engines, and its place in the folder
    size=$1
    place=
    [ $size = win32 ] || place=/x64
    nyxhost=$files$place/nyxhost.exe
    engines=$builds/$size/engines/standin
}
# All of the registry but what the system's services write by themselves, and all files but the
# uninstaller's empty temporary folder.
state() { # NAME
    wine regedit /E "Z:${PWD//\//\\}\\all.reg" </dev/null
    iconv -f utf-16 -t utf-8 all.reg | tr -d '\r' |
        awk -v RS= -v ORS='\n\n' '!/^\[[^]]*\\(ServiceCurrent|Console|NetworkCards\\[0-9]+|Control)\]/' >"$1.reg"
    (cd "$drive" && find . ! -path '*/Temp/~nsu*') | sort >"$1.files"
}
as_before() { # WHAT
    wineboot >/dev/null 2>&1 </dev/null # what waits for the next start of the system
    state after
    check "$1: the registry is as before" diff before.reg after.reg
    check "$1: the disk is as before" diff before.files after.files
}
each() { # COMMAND...: for programs of each size
    for size in "${sizes[@]}"; do
        use "$size"
        "$@"
    done
}
finds_nothing() { check "nothing is registered for $size" ends 4 run_nyxhost list; }
renders() {
    ask run_nyxhost render clip.mxf
    check "$size plays a file" says "filter: Nyx Footage Source" "filter: DVCPRO50 Decoder" "5 pictures"
}
decodes() { # PICTURES: the first that are called so are the measure
    check "$size decodes" ends 0 run_nyxhost decode clip.dv --raw now
    [ -e "$1" ] || cp now "$1"
    check "$size has the $1 pictures" cmp now "$1"
}
taken_out() {
    check "uninstall.exe" ends 0 wine "$installed/uninstall.exe" /S # that works in a process of its own
    check "the folder is gone" timeout 600 sh -c 'while [ -e "$1" ]; do sleep 0.1; done' - "$installed"
    as_before "taken out"
}

package_is_whole() {
    system='KERNEL32|msvcrt|ole32|OLEAUT32|ADVAPI32|USER32|GDI32|COMCTL32|VERSION|WINMM|PSAPI|AVIFIL32|WindowsCodecs'
    mapfile -t binaries < <(cd "$files" && find * -name '*.dll' -o -name '*.exe')
    check "eleven binaries" test ${#binaries[@]} = 11
    for file in "${binaries[@]}"; do
        objdump -fp "$files/$file" >headers
        [[ $file = x64/* ]] && machine=x86-64 || machine=i386
        check "$file: its size of words" grep -q "file format pei-$machine" headers
        check "$file: no debug sections" test -z "$(objdump -h "$files/$file" | grep debug)"
        check "$file: at any address, data not executable" test "$(grep -cE 'DYNAMIC_BASE|NX_COMPAT' headers)" = 2
        check "$file: no imports but the system's" \
            test -z "$(sed -n 's/^\tDLL Name: \(.*\)\.dll$/\1/pI' headers | grep -vixE "$system")"
        check "$file: the version" test "$(strings -el "$files/$file" | grep -A1 ProductVersion | tail -1)" = "$version"
        check "$file: its symbols" test -s "$files/debug/${file/engines\//}.debug"
    done
    (umask 077 && LC_ALL=C.UTF-8 TZ=Asia/Tokyo "$root/package/pack.sh" "$builds" "$work/again")
    for file in again/*; do
        check "$file: the same bytes" cmp "$file" "${setup%/*}/${file#*/}"
    done
}
refused_without_ssse3() {
    cp -r "$files" without
    cp "$files/nyxhost.exe" without/processor_check.exe # whatever ends with 1
    makensis -V1 -NOCD '-XSetCompressor /FINAL zlib' -DVERSION="$version" -DSTAGE="$PWD/without" -DOUTPUT="$PWD/without.exe" "$root/package/setup.nsi"
    check "the installer" ends 1 wine without.exe /S
    check "install.cmd" ends 1 wine cmd /c 'without\install.cmd'
    check "nothing is installed" test ! -e "$installed"
    each finds_nothing
}
by_zip() {
    check "install.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\install.cmd"
    each renders
    check "uninstall.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\uninstall.cmd"
    # The system keeps its list of compressors, which it made for this one.
    for view in 32 64; do
        wine reg delete 'HKCR\CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance' /f /reg:$view >/dev/null </dev/null
    done
    as_before "the zip"
}
serves() {
    ask wine reg query 'HKLM\Software\Classes\CLSID' /s "/reg:${size#win}"
    check "ten classes for $size" test "$(grep -cF "Nyx codecs${place//\//\\}\nyxcodecs.dll" <<<"$said")" = 10
    ask run_nyxhost --version
    check "the version of nyxhost for $size" says "nyxhost $version"
    decodes real
    use_engines # a closed engine on the path goes before
    decodes painted
    use_no_engines
    renders
}
by_installer() {
    check "the installer" ends 0 wine "$setup" /S
    each serves
    check "no files for other sizes" test "$(find "$installed" -name nyxcodecs.dll | wc -l)" = ${#sizes[@]}
    check "a closed engine has its own picture" ends 1 cmp -s real painted
    ask run_nyxhost list
    check "the compressor" says "DirectShow filters, video compressors"
    ask wine reg query "$entry" /reg:32
    check "the entry among the programs" says "DisplayVersion    REG_SZ    $version" EstimatedSize Publisher
}
by_repair() {
    wine reg add "$entry" /reg:32 /v Components /d ,source,mxf,rkdvh,host, /f >/dev/null </dev/null # is kept
    use win64
    wine "$nyxhost" bench clip.dv --repeat 1000000 </dev/null >bench 2>&1 &
    host=$!
    timeout 600 sh -c 'until grep -qs "^pass 2" bench; do sleep 0.1; done'
    for file in "$installed"/{,x64/}nyxcodecs.dll; do echo >>"$file"; done
    check "the installer" ends 0 wine "$setup" /S
    check "the host plays on" kill -0 $host
    check "the files are the package's" cmp <(cat "$installed"/{,x64/}nyxcodecs.dll) <(cat "$files"/{,x64/}nyxcodecs.dll)
    check "the old one waits for the next start" test -n "$(find "$installed" -name '*.tmp')"
    check "what is not chosen is taken out" test -z "$(find "$installed" -name rkm2vi01.dll)"
    ask sh -c 'for size in 32 64; do wine reg query "HKLM\Software\Classes\Media Type" /s /reg:$size; done'
    check "kinds of files" test "$(grep -o '{1D4C0B3.-' <<<"$said" | xargs)" = "{1D4C0B31- {1D4C0B31-"
    each renders
    kill $host
    wait $host || true
    wineboot >/dev/null 2>&1 </dev/null
    check "and is gone then" test -z "$(find "$installed" -name '*.tmp')"
}
# An engine on the search path keeps the open one out, but only for programs of its size.
beside_closed_engines() { # and moved
    for size in win32 win64; do
        use "$size"
        use_engines
        check "the installer" ends 0 wine "$setup" /S '/D=C:\Nyx'
        check "the first folder is gone" test ! -e "$installed"
        check "the open engine for $size stays out" test ! -e "$drive/Nyx$place/engines"
        decodes painted
        use win$((96 - ${size#win}))
        decodes real
    done
    use_no_engines
    installed=$drive/Nyx
}

unzip -q "${setup%-setup.exe}.zip"
files=$PWD/nyx-codecs-$version
quiet_ffmpeg -f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 5 -pix_fmt yuv422p -c:v dvvideo clip.mxf
make_dv bars 720 576 25/1 5 yuv420p clip.dv
drive=$WINEPREFIX/drive_c
installed=$drive/$programs/Nyx\ codecs
entry='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\NyxCodecs'
# What the system writes down by itself: its compressors, another start.
each finds_nothing
wineboot >/dev/null 2>&1 </dev/null
state before
for step in "${steps[@]}"; do
    say "${step//_/ }"
    $step
done
[ -z "${other:-}" ] || wait "$other" || failures=$((failures + $?))
printf '%d checks, %d failures\n' "$checks" "$failures"
exit $((failures > 0))
