; A program that unpacks STAGE to the folder of /D, as /S asks: programs of tests are alike, so that one block
; of them packs well. pack.sh defines STAGE and OUTPUT.
Unicode true
Name "Nyx codecs checks"
OutFile "${OUTPUT}"
RequestExecutionLevel user
SetCompressor /SOLID lzma
SetCompressorDictSize 64
Section
    SetOutPath $INSTDIR
    File /r "${STAGE}/*"
SectionEnd
