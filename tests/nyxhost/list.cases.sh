# The registered filters, those that work, and what the others need.
bits=${WINEARCH#win}-bit
run 0 --version
says ", $bits"
run 4 list
says "nyxcodecs.dll, $bits: not registered; run regsvr32 nyxcodecs.dll" "no filter of these modules is registered"
run 4 doctor
says "$bits programs" "wrong: nyxcodecs.dll is not registered" "regsvr32 with the $bits nyxsource.dll"
run 4 decode clip.avi --raw none.raw # by the source's DLL beside the program
says 'no decoder is registered for "Q210"'
if [ "$WINEARCH" = win64 ]; then
    others='HKCR\Wow6432Node\CLSID\'
    wine reg add "$others{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\{1}" /f >/dev/null </dev/null
    wine reg add "$others{1}\\InprocServer32" /ve /d 'C:\nyxcodecs.dll' /f >/dev/null </dev/null
    run 4 list
    says "nyxcodecs.dll, $bits: not registered (only for the other word size); run"
    run 4 doctor
    says 'C:\nyxcodecs.dll is registered and not a 32-bit library'
fi
holds "regsvr32" register nyxcodecs
run 11 list
says "nyxcodecs.dll, $bits: $(windows_path "$modules/nyxcodecs.dll")" "nyxsource.dll, $bits: not registered" \
    "engine missing or too old" "rkzcore.dll (not found)" "rkzalpha.dll (not found)"
holds "regsvr32" register nyxsource
use_engines old
mkdir damaged
echo "no library" >damaged/rkz2core.dll
WINEPATH="$(windows_path damaged);$WINEPATH;$(windows_path "$open_engines");$(windows_path "$engines")"
run 11 doctor
says "rkllc.dll is too old" "rkz2core.dll is not a $bits library" "1.0.0.0, open, $(windows_path "$open_engines")"
run 11 list
says "Nyx Footage Source         {5F2C1E6A-8B0D-4C57-9D3E-7A41B6C9E210}, DirectShow filters" \
    "rkz2core.dll (not a $bits library)" "rkm2vi01.dll (1.0.0.0, open, $(windows_path "$open_engines")\\rkm2vi01.dll)" \
    "rkllc.dll (1.20.65535.65535, older than 1.21, stand-in, $(windows_path "$engines")\\old\\rkllc.dll)"
holds "what works, and in which categories" diff - <(grep -B 1 "^ *works" <<<"$said" | grep -v "^ *works\|^--\|Footage") <<'ROWS'
  Rokka MPEG2-Intra Decoder  {48BC3ED7-498D-4F7C-A121-EE72A9EFC483}, DirectShow filters
  Rokka Q210 Decoder         {3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}, DirectShow filters
ROWS
says "{F891D31F-209D-4AF8-AEBC-FF2472BC14C3}, DirectShow filters, video compressors"
use_engines
run 0 list # all is there
healthy=0
[ "$WINEARCH" = win32 ] || healthy=4 # the other word size is not
run $healthy doctor clip.avi
says "source: Nyx Footage Source" "decoder: Rokka Q210 Decoder, merit 0x00800000"
use_no_engines
run 11 doctor tape.mxf
says "rkdvh.dll is missing" "Rokka DV Decoder cannot be created" "do: provide the engine"

# A third-party decoder that the system prefers to ours: here a copy of our DLL under another name.
cp "$modules/nyxcodecs.dll" other.dll
ours='HKCR\CLSID\{083863F1-70DE-11D0-BD40-00A0C911CE86}\Instance\'
q210={3D1F4E99-3ADF-471E-8C1A-B7D678B4A238} zeta2={05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0}
wine reg copy "$ours$q210" "$ours$zeta2" /s /f >/dev/null </dev/null
wine reg add "$ours$zeta2" /v CLSID /d $zeta2 /f >/dev/null </dev/null
wine reg add 'HKCR\CLSID\'$q210'\InprocServer32' /ve /d "$(windows_path other.dll)" /f >/dev/null </dev/null
run 0 render clip.avi
says "filter: Rokka Q210 Decoder, merit 0x00800000" "in: video, Q210, 720x486, 20 bits" \
    "out: video, yuy2, 720x486, 16 bits" "chosen over Rokka Q210 Decoder, merit 0x00800000" "3 pictures"
use_engines
run 5 doctor clip.avi
says "the decoder is of other.dll" "chosen over Rokka Q210 Decoder, merit 0x00800000"
use_no_engines
holds "regsvr32" register nyxcodecs
