; regsvr32 in a process of its own, so that nothing of a module stays loaded here: $R0 is what it ends with.

!macro Register OPTIONS ROOT FILE
  ${If} ${FileExists} "${ROOT}${PLACE}\${FILE}"
    ExecWait '"${REGSVR}" /s ${OPTIONS} "${ROOT}${PLACE}\${FILE}"' $R0
    ${Log} "regsvr32 ${OPTIONS} ${ROOT}${PLACE}\${FILE}: $R0"
  ${EndIf}
!macroend

; Both modules of a size in an installation, its source for the kinds of files among COMPONENTS.
!macro RegisterAll ROOT COMPONENTS
  !insertmacro Register "" "${ROOT}" nyxcodecs.dll
  !insertmacro Register "/n /i:${COMPONENTS}" "${ROOT}" nyxsource.dll
!macroend

; They themselves, and the system's list of compressors, where it made one for the encoder alone.
!macro UnregisterAll ROOT
  !insertmacro Register /u "${ROOT}" nyxsource.dll
  !insertmacro Register /u "${ROOT}" nyxcodecs.dll
  SetRegView ${BITS}
  DeleteRegKey /ifempty HKCR "CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance"
  SetRegView 32
!macroend
