#!/usr/bin/env bash
# package_test.sh BUILD PACKAGE: installs what scripts/package left in folder PACKAGE in a Wine prefix of
# its own, uses it from outside, and takes it out again. Ends with the number of failures.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
build=$1
version=$(cat "$root/VERSION")
setup=$2/nyx-codecs-$version-setup.exe
zip=$2/nyx-codecs-$version.zip
nyxhost=$build/bin/nyxhost.exe
engines=$build/engines/standin
[ -e "$setup" ] && [ -e "$zip" ] || die "no package in $2: run scripts/package"

start_wine
work=$(mktemp -d "$WINEPREFIX/package.XXXXXX") # goes with the prefix
cd "$work"
checks=0
failures=0
check() { # WHAT COMMAND...
    checks=$((checks + 1))
    "${@:2}" || { failures=$((failures + 1)) && printf 'FAILED: %s\n' "$1"; }
}
ask() { # COMMAND...: what it prints is in $said
    said=$("$@" 2>&1 </dev/null | tr -d '\r') || true
}
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
gone() { # FILE: within ten minutes: the uninstaller works in a process of its own
    timeout 600 sh -c 'while [ -e "$1" ]; do sleep 0.1; done' - "$1"
}

say "What is in the package"
unzip -q "$zip"
files=$PWD/nyx-codecs-$version
system='KERNEL32|msvcrt|ole32|OLEAUT32|ADVAPI32|USER32|GDI32|COMCTL32|VERSION|WINMM|PSAPI|AVIFIL32|WindowsCodecs|bcrypt'
read -r -d '' -a binaries < <(cd "$files" && find . -name '*.dll' -o -name '*.exe' | sort) || true
check "six binaries" test ${#binaries[@]} = 6
for file in "${binaries[@]}"; do
    objdump -p "$files/$file" >headers
    check "$file: no debug sections" test -z "$(objdump -h "$files/$file" | grep debug)"
    check "$file: at any address" grep -q DYNAMIC_BASE headers
    check "$file: data is not executable" grep -q NX_COMPAT headers
    check "$file: no imports but the system's" \
        test -z "$(sed -n 's/^\tDLL Name: \(.*\)\.dll$/\1/pI' headers | grep -vixE "$system")"
    check "$file: the version" test "$(strings -el "$files/$file" | grep -A1 ProductVersion | tail -1)" = "$version"
    check "$file: its symbols" test -s "$files/debug/$(basename "$file").debug"
done
ask run_nyxhost --version
check "nyxhost's version" says "nyxhost $version"
(umask 077 && LC_ALL=C.UTF-8 TZ=Asia/Tokyo "$root/package/pack.sh" "$build" "$work/again")
for file in "$setup" "$zip"; do
    check "$(basename "$file"): packed again, the same bytes" cmp "$file" "again/$(basename "$file")"
done

quiet_ffmpeg -f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 5 -pix_fmt yuv422p -c:v dvvideo clip.mxf
make_dv bars 720 576 25/1 5 yuv420p clip.dv
drive=$WINEPREFIX/drive_c
installed="$drive/Program Files/Nyx codecs"
# What the system writes down by itself: its compressors, another start.
ends 4 run_nyxhost list
wineboot >/dev/null 2>&1 </dev/null
# NAME: all of the registry but what the system's services write by themselves, and all files but the
# uninstaller's empty temporary folder.
state() {
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
state before

say "Refused without SSSE3"
cp -r "$files" without
cp "$files/nyxhost.exe" without/processor_check.exe # whatever ends with 1
makensis -V1 -NOCD -DVERSION="$version" -DSTAGE="$PWD/without" -DOUTPUT="$PWD/without.exe" "$root/package/setup.nsi"
check "the installer" ends 1 wine without.exe /S
check "install.cmd" ends 1 wine cmd /c 'without\install.cmd'
as_before "refused"

say "The zip"
check "install.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\install.cmd"
ask run_nyxhost render clip.mxf
check "it works" says "Nyx Footage Source" "5 pictures"
check "uninstall.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\uninstall.cmd"
# The system keeps its list of compressors, which it made for this one.
wine reg delete 'HKCR\CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance' /f >/dev/null </dev/null
as_before "the zip"

say "Installed"
check "the installer" ends 0 wine "$setup" /S
state now
check "ten classes" test "$(grep -c '^@="C:.*Nyx codecs\\\\nyxcodecs\.dll"' now.reg)" = 10
ask run_nyxhost list
check "the compressor" says "DirectShow filters, video compressors"
ask run_nyxhost render clip.mxf
check "a program from outside plays a file" says "filter: Nyx Footage Source" "filter: DVCPRO50 Decoder" "5 pictures"
check "real pictures" ends 0 run_nyxhost decode clip.dv --raw real
entry='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\NyxCodecs'
ask wine reg query "$entry"
check "the entry among the programs" says "DisplayVersion    REG_SZ    $version" EstimatedSize Publisher
use_engines
check "a closed engine on the path goes before" ends 0 run_nyxhost decode clip.dv --raw painted
check "with its own picture" ends 1 cmp -s real painted
use_no_engines

say "Installed over a loaded and damaged module, and the choice of before kept"
wine reg add "$entry" /v Components /d ,source,mxf,rkdvh,host, /f >/dev/null </dev/null
echo >>"$installed/nyxcodecs.dll"
wine "$nyxhost" bench clip.dv --repeat 1000000 </dev/null >bench 2>&1 &
host=$!
timeout 600 sh -c 'until grep -qs "^pass 2" bench; do sleep 0.1; done'
check "the installer" ends 0 wine "$setup" /S
check "the host plays on" kill -0 $host
check "the file is the package's" cmp "$installed/nyxcodecs.dll" "$files/nyxcodecs.dll"
check "the old one waits for the next start" test -n "$(find "$installed" -name '*.tmp')"
check "what is not chosen is taken out" test ! -e "$installed/engines/rkm2vi01.dll"
state now
check "kinds of files" test "$(grep -o '{1D4C0B3.-' now.reg | sort -u | xargs)" = "{1D4C0B31-"
ask run_nyxhost render clip.mxf
check "it works" says "5 pictures"
kill $host
wait $host || true
wineboot >/dev/null 2>&1 </dev/null
check "and is gone then" test -z "$(find "$installed" -name '*.tmp')"

say "Moved, beside closed engines"
use_engines
check "the installer" ends 0 wine "$setup" /S '/D=C:\Nyx'
check "the first folder is gone" test ! -e "$installed"
installed=$drive/Nyx
check "the open engines stay out" test ! -e "$installed/engines"
check "the closed one plays" ends 0 run_nyxhost decode clip.dv --raw moved
check "its own picture" cmp painted moved
use_no_engines
check "uninstall.exe" ends 0 wine "$installed/uninstall.exe" /S
check "the folder is gone" gone "$installed"
as_before "taken out"

printf '%d checks, %d failures\n' "$checks" "$failures"
exit $((failures > 0))
