#!/usr/bin/env bash
# registration_test.sh WINE-RUN MODULE.DLL [32-BIT-MODULE.DLL]: self-registration replaces nothing below HKCR and among
# the property handlers, and unregistering takes all of it away; of nyxcodecs.dll what it enters, to the byte; of
# nyxshell.dll where files get their handlers; beside a 32-bit module, each in its own view. In the caller's prefix, which it leaves without the modules.
# Ends with the number of failures.
set -euo pipefail
wine_run=$1
[ -e "${3:-$2}" ] || { echo "no $3: run scripts/build win32" && exit 1; }
export LC_ALL=C.UTF-8
folder=$(mktemp -d)
name=${2##*/}
module="$folder/Ωж日/$name" # a folder may be named in any script
failures=0
finish() {
    call regsvr32 /s /u "$name" || true
    [ ! -e narrow.dll ] || call regsvr32 /s /u narrow.dll || true
    if [ "$name" = nyxshell.dll ]; then
        call reg delete 'HKCR\.gxf' /f || true
        call reg delete "${properties%\\PropertyH*}" /f || true
    fi
    rm -r "$folder"
}
trap finish EXIT
mkdir "${module%/*}"
cp "$2" "$module"
[ -z "${3:-}" ] || cp "$3" "${module%/*}/narrow.dll"
cd "${module%/*}"

call() {
    "$wine_run" "$@" >/dev/null
}
holds() { # WHAT COMMAND...
    "${@:2}" && return
    failures=$((failures + 1))
    echo "FAILED: $1"
}
# Every key, and every value behind the name of its key, a line each.
entries() { # [/reg:32]
    call reg export HKCR classes.reg /y "$@"
    call reg export 'HKLM\Software\Microsoft\Windows\CurrentVersion' system.reg /y "$@"
    cat classes.reg system.reg | iconv -f utf-16le -t utf-8 | tr -d '\r' | sed -e ':more; /\\$/{N; s/\\\n *//; b more}' |
        awk '/^\[/ { key = $0; print; next } NF { print key " " $0 }' | sort
}

class() { # CLSID TITLE
    local key="[HKEY_CLASSES_ROOT\\CLSID\\{$1}"
    echo "$key]"
    echo "$key] @=\"$2\""
    echo "$key\\InprocServer32]"
    echo "$key\\InprocServer32] @=\"Z:${module//\//\\\\}\""
    echo "$key\\InprocServer32] \"ThreadingModel\"=\"Both\""
}
filter() { # CATEGORY INSTANCE CLSID TITLE DATA
    local key="[HKEY_CLASSES_ROOT\\CLSID\\{$1}\\Instance\\$2]"
    echo "$key"
    echo "$key \"CLSID\"=\"{$3}\""
    echo "$key \"FilterData\"=hex:${5// /,}"
    echo "$key \"FriendlyName\"=\"$4\""
}
filters=083863F1-70DE-11D0-BD40-00A0C911CE86
compressors=33D9A760-90C8-11D0-BD43-00A0C911CE86

# The mapper's record: version, merit, two pins; of each pin its flags and the places of its types.
no="00 00 00 00" one="01 00 00 00" two="02 00 00 00"
guid="00 00 10 00 80 00 00 aa 00 38 9b 71"
video="76 69 64 73 $guid"
decoder_data() { # CODE: a decoder's merit, and its output of any type
    echo "$two 00 00 80 00 $two $no 30 70 69 33 $no $one $one $no $no 30 74 79 33 $no 60 00 00 00 70 00 00 00" \
        "31 70 69 33 08 00 00 00 $one $one $no $no 30 74 79 33 $no 60 00 00 00 80 00 00 00" \
        "$video $(printf %s "$1" | od -An -tx1 | xargs) $guid $no $no $no $no"
}
rgb32="7e eb 36 e4 4f 52 ce 11 9f 53 00 20 af 0b a7 70"
encoder_data="$two 00 00 20 00 $two $no 30 70 69 33 $no $one $two $no $no 30 74 79 33 $no 70 00 00 00 80 00 00 00 \
31 74 79 33 $no 70 00 00 00 90 00 00 00 31 70 69 33 08 00 00 00 $one $one $no $no 30 74 79 33 $no \
70 00 00 00 a0 00 00 00 $video 59 55 59 32 $guid $rgb32 51 5a 54 41 $guid"

expected() {
    while IFS='|' read -r code clsid title; do
        class "$clsid" "$title"
        filter $filters "{$clsid}" "$clsid" "$title" "$(decoder_data "$code")"
    done <<'TABLE'
QDVC|194BF9E2-3566-43C0-AA21-EEC7278EA7D8|Rokka DV Decoder
QDV5|B3106B88-8D62-4B34-8FDF-6CA7867BB99F|DVCPRO50 Decoder
QDVH|43749036-6EBA-4A63-9B9B-2EDC0D073B2B|DVCPRO HD Decoder
QZTA|F8C71073-10DB-4DFF-8EA6-CEA26400AFFB|Rokka Zeta Decoder
QLLC|9770AADC-2F6D-4586-9059-F847E46D3833|Rokka Lossless Decoder
QMIC|48BC3ED7-498D-4F7C-A121-EE72A9EFC483|Rokka MPEG2-Intra Decoder
QZT2|05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0|Rokka Zeta2 Decoder
Q210|3D1F4E99-3ADF-471E-8C1A-B7D678B4A238|Rokka Q210 Decoder
TABLE
    local encoder=F891D31F-209D-4AF8-AEBC-FF2472BC14C3 title="Rokka Zeta Encoder"
    class $encoder "$title"
    filter $filters "{$encoder}" $encoder "$title" "$encoder_data"
    filter $compressors "$title" $encoder "$title" "$encoder_data"
    class 55B150FB-86E8-4B96-9849-73B76D260D2A "Rokka Zeta Encoder Property Page"
}

# The system makes the keys of its categories with the first filter and keeps them.
if [ "$name" != nyxshell.dll ]; then
    holds "it registers" call regsvr32 /s "$name"
    holds "it unregisters" call regsvr32 /s /u "$name"
fi
thumbnails='HKCR\.gxf\ShellEx\{E357FCCD-A995-4576-B01F-234630154E96}'
properties='HKLM\Software\Microsoft\Windows\CurrentVersion\PropertySystem\PropertyHandlers\.dv'
if [ "$name" = nyxshell.dll ]; then # another program's handlers
    call reg add "$thumbnails" /ve /d other /f
    call reg add "$properties" /ve /d other /f
fi
entries >before
call regsvr32 /s "$name"
entries >after
holds "nothing is replaced" test -z "$(comm -23 before after)"
[ "$name" != nyxcodecs.dll ] || holds "the entries are these" diff -u <(expected | sort) <(comm -13 before after)
[ "$name" != nyxshell.dll ] || holds "the handlers are these" diff - \
    <(comm -13 before after | sed -n 's/.*\\\(\.[a-z]*\)\(\\ShellEx\)\?.*\] @="{5F2C1E6E-.*/\1\2/p' | sort | paste -sd ' ') \
    <<<'.dif .dif\ShellEx .dv\ShellEx .gxf .mxf .mxf\ShellEx'
holds "it registers again" call regsvr32 /s "$name"
holds "twice is once" diff -q after <(entries)
holds "it unregisters again" call regsvr32 /s /u "$name"
holds "nothing is left" diff -u before <(entries)

if [ -e narrow.dll ]; then
    holds "the 32-bit one registers" call regsvr32 /s narrow.dll
    holds "the 32-bit one unregisters" call regsvr32 /s /u narrow.dll
    entries /reg:32 >narrow_before
    call regsvr32 /s "$name"
    holds "the 32-bit view has none of it" diff -u narrow_before <(entries /reg:32)
    call regsvr32 /s narrow.dll
    holds "the 64-bit module stays" diff -u after <(entries)
    entries /reg:32 >narrow_after
    holds "the 32-bit entries are these" \
        diff -u <(module=${module%/*}/narrow.dll expected | sort) <(comm -13 narrow_before narrow_after)
    call regsvr32 /s /u "$name"
    holds "the 32-bit module is left" diff -u narrow_after <(entries /reg:32)
    call regsvr32 /s "$name"
    call regsvr32 /s /u narrow.dll
    holds "the 64-bit module is left" diff -u after <(entries)
fi
exit "$failures"
