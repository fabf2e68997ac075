# What is registered, what works, and what the rest wants.
run 4 list
says "nyxcodecs.dll: not registered; run regsvr32 nyxcodecs.dll" "nothing registered"
run 4 decode clip.avi --raw none.raw # by the source's DLL beside the program
says 'no decoder is registered for "Q210"'
holds "regsvr32" register nyxcodecs
run 0 list
says "nyxcodecs.dll: $(windows_path "$modules/nyxcodecs.dll")" "nyxsource.dll: not registered" \
    "engine missing or too old, rkzcore.dll (not found), rkzalpha.dll (not found)"
holds "regsvr32" register nyxsource
use_engines old
WINEPATH+=";$(windows_path "$engines")"
run 0 list
says "Nyx Footage Source         {5F2C1E6A-8B0D-4C57-9D3E-7A41B6C9E210}, DirectShow filters" \
    "engine missing or too old, rkllc.dll ($(windows_path "$engines")\\old\\rkllc.dll)"
holds "what works, and in which categories" diff - <(grep -B 1 "^ *works" <<<"$said" | grep -v "^ *works\|^--\|Footage") <<'ROWS'
  Rokka MPEG2-Intra Decoder  {48BC3ED7-498D-4F7C-A121-EE72A9EFC483}, DirectShow filters
  Rokka Q210 Decoder         {3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}, DirectShow filters
ROWS
says "{F891D31F-209D-4AF8-AEBC-FF2472BC14C3}, DirectShow filters, video compressors"
use_no_engines
