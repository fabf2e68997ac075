; The two sizes of words that programs may have.

; Does a macro with its arguments, DO, for each size whose programs this system runs. What it is written
; with: BITS, that size; SOURCE, where files of that size come from; PLACE, their part of a folder's path;
; REGSVR, what registers them; MACHINE, the word that they have in their headers.
!macro ForEachSize DO
  !insertmacro ForSize 32 "${STAGE}" "" "$SYSDIR" 0x014c `${DO}`
  ${If} ${IsNativeAMD64}
    !insertmacro ForSize 64 "${STAGE}/x64" "\x64" "$WINDIR\Sysnative" 0x8664 `${DO}`
  ${EndIf}
!macroend
!macro ForSize SIZE FROM PART SYSTEM WORD DO
  !define BITS ${SIZE}
  !define SOURCE "${FROM}"
  !define PLACE "${PART}"
  !define REGSVR "${SYSTEM}\regsvr32.exe"
  !define MACHINE ${WORD}
  !insertmacro ${DO}
  !undef BITS
  !undef SOURCE
  !undef PLACE
  !undef REGSVR
  !undef MACHINE
!macroend
!define ForEachSize "!insertmacro ForEachSize"
