; The two word sizes of programs.

; Runs DO, a macro with its arguments, for each word size that the system runs. DO can use BITS, the word
; size; SOURCE, the folder of its files; PLACE, their subfolder in an installation; REGSVR, the program
; that registers them; MACHINE, the machine word in their headers.
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
