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
for text in "nyxcodecs.dll: $(windows_path "$module")" "nyxsource.dll: not registered" \
    "Rokka Q210 Decoder         {3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}, DirectShow filters" \
    ", DirectShow filters, video compressors" "works" \
    "engine missing or too old, rkzcore.dll (not found), rkzalpha.dll (not found)"; do
    says "$text"
done

use_engines
run 0 list
[[ $said != *engine* ]] || fail "$last: a filter fails with its engine in place: $said"
use_engines old
run 0 list
says "engine missing or too old, rkllc.dll ($(windows_path "$engines")\old\rkllc.dll)"
use_no_engines
