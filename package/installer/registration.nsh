; Runs regsvr32 as a separate process, so that no module stays loaded here. $R0 is its exit code.

!macro Register OPTIONS ROOT FILE
  ${If} ${FileExists} "${ROOT}${PLACE}\${FILE}"
    ExecWait '"${REGSVR}" /s ${OPTIONS} "${ROOT}${PLACE}\${FILE}"' $R0
    ${Log} "regsvr32 ${OPTIONS} ${ROOT}${PLACE}\${FILE}: $R0"
  ${EndIf}
!macroend

; Registers all modules for one word size, the source for the file types in COMPONENTS.
!macro RegisterAll ROOT COMPONENTS
  !insertmacro Register "" "${ROOT}" nyxcodecs.dll
  !insertmacro Register "/n /i:${COMPONENTS}" "${ROOT}" nyxsource.dll
  !insertmacro Register "" "${ROOT}" nyxshell.dll
!macroend

; Unregisters all modules, and removes the system's list of compressors if the encoder was its only
; entry.
!macro UnregisterAll ROOT
  !insertmacro Register /u "${ROOT}" nyxshell.dll
  !insertmacro Register /u "${ROOT}" nyxsource.dll
  !insertmacro Register /u "${ROOT}" nyxcodecs.dll
  SetRegView ${BITS}
  DeleteRegKey /ifempty HKCR "CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance"
  SetRegView 32
!macroend
