#!/usr/bin/env bash
# package_test.sh BUILDS PACKAGE [win32|win64]: installs the package in folder PACKAGE in a Wine prefix, uses it
# alone and beside the stand-in engines of BUILDS, and uninstalls it. By default the prefix is a 64-bit one, and
# a shorter run in a 32-bit prefix goes on in parallel.
. "$(dirname "$0")/../../scripts/lib.sh"
. "$root/scripts/clips.sh"
builds=$1
kind=${3:-win64}
version=$(cat "$root/VERSION")
setup=$2/nyx-codecs-$version-setup.exe
[ -e "$setup" ] || die "no package in $2: run scripts/package"
sizes=(win32)
steps=(by_installer unchanged_by_failures taken_out)
programs='Program Files'
if [ "$kind" = win64 ]; then
    steps=(package_is_whole refused by_zip by_installer unchanged_by_failures by_repair beside_closed_engines by_choice taken_out)
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
# COMMAND...: its output is in $said
ask() { said=$("$@" 2>&1 </dev/null | tr -d '\r') || true; }
says() { # TEXT...: the output has all of them
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
by_line() { # COMMAND-LINE: as a prompt has it, byte for byte; in files of at most $limit KiB
    printf '@echo off\r\n%s\r\n' "$1" >line.cmd
    (
        trap '' XFSZ
        ulimit -f "${limit:-unlimited}"
        wine cmd /c line.cmd </dev/null
    )
}
# An installer of other files or with more commands, to save time not packed.
variant() { # NAME STAGE [OPTION...]
    makensis -V1 -NOCD '-XSetCompressor /FINAL zlib' -DVERSION="$version" -DSTAGE="$(realpath "$2")" -DTOOLS="$builds/win32/bin" \
        -DOUTPUT="$PWD/$1.exe" "${@:3}" "$root/package/setup.nsi"
}
use() { # SIZE: its console program, outside, its closed engines, and its place in the folder
    size=$1
    place=
    [ $size = win32 ] || place=/x64
    nyxhost=$files$place/nyxhost.exe
    engines=$builds/$size/engines/standin
}
# Saves the registry, without the keys that the system's services write, and the list of files, without the
# uninstaller's empty temporary folder.
state() { # NAME
    wine regedit /E "Z:${PWD//\//\\}\\all.reg" </dev/null
    iconv -f utf-16 -t utf-8 all.reg | tr -d '\r' |
        awk -v RS= -v ORS='\n\n' '!/^\[[^]]*\\(ServiceCurrent|Console|NetworkCards\\[0-9]+|Control)\]/' >"$1.reg"
    (cd "$drive" && find . ! -path '*/Temp/~nsu*') | sort >"$1.files"
}
as_before() { # WHAT [STATE]
    wineboot >/dev/null 2>&1 </dev/null # does what waits for a restart
    state after
    check "$1: the registry is as before" diff "${2:-before}.reg" after.reg
    check "$1: the disk is as before" diff "${2:-before}.files" after.files
}
each() { # COMMAND...: for programs of each word size
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
shows() { # A program that is not ours finds the handlers, in folders of their own, away from ours.
    check "$size shows a thumbnail and properties" ends 0 wine "$builds/$size/bin/association_host.exe" 96 clip.mxf clip.dv
    check "$size: its pictures" test "$(stat -c %s clip.{mxf,dv}.bmp | xargs)" = "27702 20790" # 4:3, 16:9
    rm -f clip.*.bmp
}
decodes() { # PICTURES: the first run saves them, the others compare
    check "$size decodes" ends 0 run_nyxhost decode clip.dv --raw now
    [ -e "$1" ] || cp now "$1"
    check "$size has the $1 pictures" cmp now "$1"
}
taken_out() {
    cp "$installed/uninstall.exe" .
    fails 0 "Nothing is installed in C:\gone." 'uninstall.exe /S _?=C:\gone'
    ask wine reg query "$entry" /reg:32 /v QuietUninstallString
    check "the quiet uninstaller" ends 0 by_line "${said##*REG_SZ    }" # continues in another process
    check "the folder is gone" timeout 600 sh -c 'while [ -e "$1" ]; do sleep 0.1; done' - "$installed"
    as_before "taken out"
    fails 0 "Nothing is installed." 'uninstall.exe /S _?=C:\gone'
}

package_is_whole() {
    system='KERNEL32|msvcrt|ole32|OLEAUT32|ADVAPI32|USER32|GDI32|COMCTL32|VERSION|WINMM|PSAPI|SHELL32|WindowsCodecs|crypt32|comdlg32|PROPSYS|SHLWAPI'
    mapfile -t binaries < <(cd "$files" && find * -name '*.dll' -o -name '*.exe')
    check "thirteen binaries" test ${#binaries[@]} = 13
    for file in "${binaries[@]}"; do
        objdump -fp "$files/$file" >headers
        [[ $file = x64/* ]] && machine=x86-64 || machine=i386
        check "$file: its size of words" grep -q "file format pei-$machine" headers
        check "$file: no debug sections" test -z "$(objdump -h "$files/$file" | grep debug)"
        check "$file: at any address, data not executable" test "$(grep -cE 'DYNAMIC_BASE|NX_COMPAT' headers)" = 2
        check "$file: no imports but the system's" \
            test -z "$(sed -n 's/^\tDLL Name: \(.*\)\.dll$/\1/pI' headers | grep -vixE "$system")"
        strings -el "$files/$file" >resource
        check "$file: the version" test "$(grep -A1 ProductVersion resource | tail -1)" = "$version"
        check "$file: its makers" test "$(grep -xcE 'Nyx codec project|Copyright the authors of the Nyx codecs;.*' resource)" = 2
        grep -A1 FileDescription resource | tail -1 >>descriptions
        check "$file: its symbols" test -s "$files/debug/${file/engines\//}.debug"
    done
    check "each its description" test "$(sort descriptions | uniq -c | awk '{ print $1 }' | sort | xargs)" = "1 2 2 2 2 2 2"
    check "the icon in nyxhost and the installer" test "$(grep -la IHDR "$files"/{,x64/}nyxhost.exe "$setup" | wc -l)" = 3
    check "the embedding headers and the example compile" i686-w64-mingw32-g++-posix -fsyntax-only -std=c++20 \
        -include filters/encode_parameter.h "-I$files/include" "$files/include/play_file.cpp"
    check "the sums" cmp <(cd "${setup%/*}" && sha256sum "nyx-codecs-$version"{-setup.exe,.zip}) "${setup%-setup.exe}.sha256"
    (umask 077 && LC_ALL=C.UTF-8 TZ=Asia/Tokyo "$root/package/pack.sh" "$builds" "$work/again")
    for file in again/*; do
        check "$file: the same bytes" cmp "$file" "${setup%/*}/${file#*/}"
    done
}
refused() {
    cp -r "$files" without
    cp "$files/nyxhost.exe" without/processor_check.exe # a program that exits with 1
    variant without without
    check "the installer without SSSE3" ends 1 wine without.exe /S
    check "install.cmd without SSSE3" ends 1 wine cmd /c 'without\install.cmd'
    cp "$files/processor_check.exe" without
    echo >without/x64/nyxsource.dll
    variant broken without
    check "a module that cannot be registered, by the installer" ends 2 wine broken.exe /S
    check "nothing is installed" test ! -e "$installed"
    each finds_nothing
    # When Explorer starts it, it waits for a key.
    ask env cmdcmdline='C:\windows\system32\cmd.exe /c ""C:\without\install.cmd" "' wine cmd /c 'without\install.cmd'
    check "and by install.cmd" says "failed for x64\nyxsource.dll" "Press any key"
    check "which ends with it" ends 2 wine cmd /c 'without\install.cmd'
    check "uninstall.cmd of it" ends 2 wine cmd /c 'without\uninstall.cmd'
}
by_zip() {
    check "install.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\install.cmd"
    each renders
    each shows
    check "uninstall.cmd" ends 0 wine cmd /c "nyx-codecs-$version\\uninstall.cmd"
    ask wine cmd /c "nyx-codecs-$version\\uninstall.cmd"
    check "uninstall.cmd once more" says "Nothing is installed."
    # The system keeps its list of compressors, which it made for this encoder.
    for view in 32 64; do
        wine reg delete 'HKCR\CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance' /f /reg:$view >/dev/null </dev/null
    done
    as_before "the zip"
}
serves() {
    decodes real
    use_engines # a closed engine on the path takes precedence
    decodes painted
    use_no_engines
    renders
}
by_installer() {
    check "the installer" ends 0 wine "$setup" /S
    each serves
    each shows
    check "no files for other sizes" test "$(find "$installed" -name nyxcodecs.dll | wc -l)" = ${#sizes[@]}
    check "a closed engine has its own picture" ends 1 cmp -s real painted
    check "the headers" diff -r "$files/include" "$installed/include"
    check "the documents" diff -r "$files/docs" "$installed/docs"
    ask wine reg query "$entry" /reg:32
    check "MOV is left to others in $kind" says "REG_SZ    ,source,mxf,gxf,avi,dv,avi-dv,${mov}rkdvh,"
    check "the entry among the programs" says EstimatedSize "NoModify    REG_DWORD    0x1" "NoRepair    REG_DWORD    0x1"
    ask strings -el "$menu/Nyx footage.lnk"
    check "the prompt of the start menu finds nyxhost" ends 0 by_line "cd C:\\
cmd $(grep -o '/k ".*' <<<"$said" | sed 's/k/c/')"
}
fails() { # CODE MESSAGE COMMAND-LINE
    local code=0
    said=$(by_line "$3" 2>&1) || code=$?
    check "$3: its message" says "$2"
    check "$3: its exit code" test $code = "$1"
}
opens() { # NUMBERS: of the kinds of files, for both sizes
    ask sh -c 'for size in 32 64; do wine reg query "HKLM\Software\Classes\Media Type" /s /reg:$size; done'
    check "kinds of files" test "$(sed -n 's/.*{1D4C0B3\(.\)-.*/\1/p' <<<"$said" | xargs)" = "$1"
}
# A failure leaves the present installation unchanged, registered and working.
unchanged_by_failures() {
    mkdir "$drive/way"
    touch "$drive/file" "$drive/way/x64"
    state installed
    variant whole "$files"
    variant large "$files" -XSection '-XAddSize 2000000000' -XSectionEnd
    cp -r "$files" damaged
    echo >damaged/nyxsource.dll
    variant damaged damaged
    fails 1 "Unknown option: /s-"$'\r\n\r\n'"/S" 'whole.exe /S /s-'
    fails 1 "Unknown component: sources" 'whole.exe /S /COMPONENTS=mxf,sources'
    fails 2 "Not a valid folder: C:\file\sub" 'whole.exe /S /D=C:\file\sub'
    fails 2 "Not a valid folder: Q:\nyx" 'whole.exe /S /D="Q:\nyx"'
    fails 2 "Not a valid folder: C:\a /NCRC" 'whole.exe /S /D=C:\a /NCRC'
    fails 2 "Not a valid folder: nyx" 'whole.exe /S "/D=nyx"'
    fails 2 "Cannot write the log file: C:\no\log" 'whole.exe /S /LOG=C:\no\log'
    fails 2 "must not contain each other" "whole.exe /S /D=C:\\$programs\\Nyx codecs\\x64"
    fails 2 "MiB are free" 'large.exe /S /D=C:\new\folder'
    fails 2 "Cannot write or replace a file of C:\way" 'whole.exe /S /D=C:\way'
    fails 2 "Cannot register C:\\" 'damaged.exe /S /D=C:\new\folder'
    fails 2 "Cannot register C:\\" 'damaged.exe /S'
    # A full disk needs rights that few containers have; a limit on the size of files also makes writes fail.
    limit=1500 fails 2 "Cannot unpack the files" 'whole.exe /S /D=C:\new\folder'
    as_before "after failures" installed
    each renders
    rm -r "$drive/way" "$drive/file"
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
    check "unselected components are removed" test -z "$(find "$installed" -name rkm2vi01.dll)"
    opens "1 1"
    each renders
    kill $host
    wait $host || true
    wineboot >/dev/null 2>&1 </dev/null
    check "and is gone then" test -z "$(find "$installed" -name '*.tmp')"
}
# With an engine on the search path the open one is not installed for programs of the same word size.
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
by_choice() {
    check "the installer" ends 0 by_line 'whole.exe /S /COMPONENTS=gxf,path,pair-mono /LOG="C:\log of it.txt" /D=C:\Nyx two'
    installed="$drive/Nyx two"
    ask iconv -f utf-16 -t utf-8 "$drive/log of it.txt"
    check "the log" says 'Folder: C:\Nyx two; present installation: C:\Nyx' "Components: ,source,gxf,pair-mono,host,path," Installed.
    rm "$drive/log of it.txt"
    check "the files of the choice" test "$(cd "$installed" && find * -name '*.[de][lx][le]' | sort | xargs)" = \
        "nyxcodecs.dll nyxhost.exe nyxsource.dll uninstall.exe x64/nyxcodecs.dll x64/nyxhost.exe x64/nyxsource.dll"
    opens "2 2"
    check "what stays as it was chosen" ends 0 wine "$setup" /S
    opens "2 2"
    ask by_line 'nyxhost --version'
    check "nyxhost on the search path" says "nyxhost $version"
    check "the installer" ends 0 by_line 'whole.exe /S /COMPONENTS=decoders,engines,tools'
    opens ""
    check "no setting" ends 1 wine reg query 'HKCU\Software\Veltro\Source'
    check "no source" test -z "$(find "$installed" -name nyxsource.dll)"
    check "no thumbnails" ends 2 wine "$builds/win64/bin/association_host.exe" 96 clip.mxf clip.dv
    ask by_line 'nyxhost --version'
    check "nyxhost no longer" test "${said/nyxhost $version/}" = "$said"
    check "the installer" ends 0 by_line 'whole.exe /S /COMPONENTS=pair-mono,mxf,avi,dv,engines,tools,path'
    ask wine reg query 'HKCU\Software\Veltro\Source'
    check "pairs of mono tracks" says "pair_mono    REG_DWORD    0x1"
    opens "1 3 1 3"
}

unzip -q "${setup%-setup.exe}.zip"
files=$PWD/nyx-codecs-$version
quiet_ffmpeg -f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 5 -pix_fmt yuv422p -c:v dvvideo clip.mxf
make_dv bars 720 576 25/1 5 yuv420p clip.dv
drive=$WINEPREFIX/drive_c
installed=$drive/$programs/Nyx\ codecs
menu=$drive/ProgramData/Microsoft/Windows/Start\ Menu/Programs/Nyx\ codecs
entry='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\NyxCodecs'
mov=mov,
if [ "$kind" = win32 ]; then # another program's source opens it
    wine reg add 'HKCR\Media Type\Extensions\.mov' /v 'Source Filter' /d "{1}" /f >/dev/null </dev/null
    mov=
fi
# Lets the system write its own entries first: its compressors, a restart.
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
