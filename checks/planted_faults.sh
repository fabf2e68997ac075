#!/usr/bin/env bash
# planted_faults.sh SIZE: plants faults in the unpacked checks of the current folder, each of which a row of the report
# must name, and takes them out again. SIZE is win32 or win64, the calling script's Wine prefix.
set -euo pipefail
size=$1
failures=0

# fault FILE SUITE TEST COMMAND...: with FILE as the command makes it from a copy, its last argument, the test fails.
fault() {
    local file=$1 suite=$2 test=$3
    cp "$file" kept
    rm -f report.txt
    "${@:4}" "$file"
    if wine cmd /c check.cmd "$size" "$suite" </dev/null >checks.log 2>&1 || ! grep -q "^FAILED  $size  $suite " report.txt ||
        ! grep -q "$test" report.txt; then
        failures=$((failures + 1))
        echo "NOT SEEN: $file as made by ${*:4}: no $test of $suite in the report"
        cat report.txt checks.log
    fi
    mv kept "$file"
}
merit() { # FILE: one above, in each record of a filter with two pins
    perl -0777 -pi -e '$n = s/\0\0\x80\0\x02\0\0\0/\x01\0\x80\0\x02\0\0\0/g; die "no merit" unless $n' "$1"
}
fixed_address() { # FILE: without the flag of a library that may be loaded anywhere
    perl -0777 -pi -e 'vec($_, (unpack("x60 V", $_) + 94) * 8 + 6, 1) = 0' "$1"
}
other_colours() { perl -0777 -pi -e 'tr/\0-\x3f/\xc0-\xff/' "$1"; }

fault material/source/dv50.mov.video source_test 'PlayUnchanged.*dv50_mov' sed -i '3s/.$/x/'
fault "$size/engines/open/rkm2vi01.dll" open_engines_test OpenMpeg truncate -s 0
fault "$size/bin/nyxcodecs.dll" registration_test 'ReplacesNothing.*0' merit
fault "$size/bin/nyxcodecs.dll" com_test MayBeLoadedAnywhere fixed_address
fault material/shell/dv50.mxf-96.bgra shell_test ThumbnailsAre other_colours
echo "$failures planted faults were not seen"
exit $((failures > 0))
