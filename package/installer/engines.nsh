; Engines of other vendors. An open engine is installed only where none is found.

Var DvText
Var MpegText

; Calls FindEngine for the current word size.
!macro FindEngine LIBRARY
  StrCpy $0 ${LIBRARY}
  StrCpy $5 ${MACHINE}
  StrCpy $6 "$INSTDIR${PLACE}\engines\${LIBRARY}"
  Call FindEngine
!macroend

; Unpacks an engine, unless programs of the current word size have another one of the same name.
!macro StageEngine LIBRARY
  !insertmacro FindEngine ${LIBRARY}
  ${If} $1 == ""
    SetOutPath "${NEW}${PLACE}\engines"
    File "${SOURCE}/engines/${LIBRARY}" "${SOURCE}/engines/*.txt"
  ${EndIf}
!macroend

; Sets $1 to the path of the engine named $0, if it is on the search path of all programs with the
; machine word $5 and is not our own file $6; else to "".
Function FindEngine
  ${If} $5 = 0x8664
    ${DisableX64FSRedirection}
  ${EndIf}
  System::Call 'kernel32::SearchPathW(w "$SYSDIR;$WINDIR\system;$WINDIR", w r0, p 0, i ${NSIS_MAX_STRLEN}, w .r1, p 0) i .r2'
  ${If} $2 = 0
    System::Call 'kernel32::GetEnvironmentVariableW(w "PATH", p 0, i 0) i .r3'
    IntOp $4 $3 * 2
    System::Alloc $4
    Pop $4
    System::Call 'kernel32::GetEnvironmentVariableW(w "PATH", p r4, i r3)'
    System::Call 'kernel32::SearchPathW(p r4, w r0, p 0, i ${NSIS_MAX_STRLEN}, w .r1, p 0) i .r2'
    System::Free $4
  ${EndIf}
  StrCpy $4 0
  ${If} $2 <> 0
    FileOpen $3 $1 r
    FileSeek $3 60 ; the offset of the PE header
    FileReadWord $3 $4
    IntOp $4 $4 + 4
    FileSeek $3 $4
    FileReadWord $3 $4
    FileClose $3
  ${EndIf}
  ${EnableX64FSRedirection}
  ${If} $4 <> $5
  ${OrIf} $1 == $6
    StrCpy $1 ""
  ${EndIf}
FunctionEnd

; Appends the word size to $R3 if its programs have no engine of this name, else sets $R4 to its path.
!macro AskForEngine LIBRARY
  !insertmacro FindEngine ${LIBRARY}
  ${If} $1 == ""
    StrCpy $R3 "$R3${BITS}"
  ${Else}
    StrCpy $R4 $1
  ${EndIf}
!macroend

; Clears and disables an engine's box if all programs have an engine of this name. TEXT is the
; variable for the description.
!macro LookForEngine SECTION LIBRARY TEXT FORMATS
  StrCpy $R3 ""
  StrCpy $R4 ""
  ${ForEachSize} "AskForEngine ${LIBRARY}"
  ${If} $R4 == ""
    StrCpy ${TEXT} "${LIBRARY}: decodes ${FORMATS} with libavcodec."
  ${ElseIf} $R3 == ""
    StrCpy ${TEXT} "Not installed: the system already has an engine of this name, $R4."
    SectionSetText ${SECTION} "${FORMATS}: already installed, $R4"
    SectionSetFlags ${SECTION} ${SF_RO}
  ${Else}
    StrCpy ${TEXT} "For $R3-bit programs only: other programs already have an engine of this name, $R4."
    SectionSetText ${SECTION} "${FORMATS}: for $R3-bit programs"
  ${EndIf}
!macroend
