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
    says 'C:\nyxcodecs.dll is registered and not loadable: '
fi
holds "regsvr32" register nyxcodecs
run 11 list
says "nyxcodecs.dll, $bits: $(windows_path "$modules/nyxcodecs.dll")" "nyxsource.dll, $bits: not registered" \
    "engine missing or too old" "rkzcore.dll (not found)" "rkzalpha.dll (not found)"
# A module that is cut short, in the user's folder, which a report does not name.
own="$WINEPREFIX/drive_c/users/$(id -un)/nyxsource.dll"
cp "$modules/nyxsource.dll" "$own"
holds "regsvr32" wine regsvr32 /s "C:\\users\\$(id -un)\\nyxsource.dll" </dev/null
head -c 4096 "$modules/nyxsource.dll" >"$own"
run 4 doctor --report report.txt
says "nyxsource.dll is registered and not loadable: " " (0x8007"
said=$(cat report.txt)
says "nyxhost $(cat "$root/VERSION"), $bits" "processor: " '%USERPROFILE%\nyxsource.dll is registered' \
    "registry of $bits programs" ": 0x00000002 0x00800000" 'ThreadingModel = Both' \
    '}\{1D4C0B31-52E7-4F0A-8C66-9A0E5B7F3C01}'
holds "a report without the user" test "${said/"\\$(id -un)\\"/}" = "$said"
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
# RGB of another range, and back.
last_hash() { run_nyxhost decode clip.avi --hash 2>/dev/null | tail -n 1; }
full=$(last_hash)
run 0 settings all color_space=1
holds "all eight codecs" test "$(grep -c color_space=1 <<<"$said")" = 8
holds "other pictures" test "$(last_hash)" != "$full"
run 0 settings all color_space=default
run 0 settings Q210
holds "the default again" test "$said" = "Q210  Q210         color_space=0  RGB pictures span 0 to 255"
holds "the same pictures" test "$(last_hash)" = "$full"
use_no_engines
run 11 doctor tape.mxf
says "rkdvh.dll is missing" "Rokka DV Decoder cannot be created" "do: provide the engine"

# A splitter and its decoder, without the decoder, and without its merit.
quiet_ffmpeg -i tape.dv -c copy tape.avi
run 11 doctor tape.avi
says "source: File Source" "Rokka DV Decoder cannot be created"
use_engines
run $healthy doctor tape.avi
says "AVI splitter, merit 0x00800001, where" "splitter: Nyx AVI Footage Splitter, merit 0x00800001" "decoder: Rokka DV Decoder"
holds "regsvr32" wine regsvr32 /s /n /i:mxf,avi "$(windows_path "$modules/nyxsource.dll")" </dev/null
run 5 doctor tape.avi
says "AVI splitter, merit 0x00200000, off" "not open the file with a filter of nyxsource.dll" "0 = 0,4,,52494646,8,4,,41564920, Source Filter = {"
# Another program's entry, which the look-up finds before ours.
other='HKEY_CLASSES_ROOT\Media Type\{E436EB83-524F-11CE-9F53-0020AF0BA770}\{00000000-0000-0000-0000-000000000001}'
wine reg add "$other" /v 0 /d 0,4,00FFFFFF,00494646,8,4,,41564920 /f >/dev/null </dev/null
wine reg add "$other" /v "Source Filter" /d {E436EBB5-524F-11CE-9F53-0020AF0BA770} /f >/dev/null </dev/null
run 5 doctor clip.avi
says "${other##*\\}: 0 = 0,4,00FFFFFF,00494646,8,4,,41564920, Source Filter = {E436EBB5-524F-11CE-9F53-0020AF0BA770}"
wine reg delete "$other" /f >/dev/null </dev/null
holds "regsvr32" register nyxsource
use_no_engines

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
