# What is registered, and the engines that the search finds, with what that means for the filters.
run 4 list
says "nothing registered"
run 4 decode clip.avi --raw none.raw
says 'no decoder is registered for "Q210"'
run 4 info clip.avi
says "Q210, 720x486, 20 bits, 29.970 frames per second, 3 frames"

for way in "" /u ""; do
    holds "regsvr32 $way" register $way
    [ "$way" != /u ] || run 4 list
done
run 0 list
for text in "Rokka Q210 Decoder" "{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}" "nyxcodecs.dll (Both)" \
    "DirectShow filters, merit 0x00800000" "in  video/Q210" "out video/any" "creation  works" \
    "video compressors, merit 0x00200000" "in  video/YUY2, video/RGB32" \
    "rkzcore.dll   not found" "creation  fails: E_OUTOFMEMORY"; do
    says "$text"
done

use_engines
run 0 list
says "rkzcore.dll   1.32.0.0, $(windows_path "$engines")\\rkzcore.dll"
[[ $said != *fails* ]] || fail "$last: a filter fails with its engine in place: $said"
use_engines old
run 0 list
says "rkllc.dll     1.20.65535.65535, too old: at least 1.21 is needed"
use_no_engines
