; Engines of other programs, which keep the open ones out.

Var DvText
Var MpegText

; What function FindEngine is asked.
!macro FindEngine LIBRARY
  StrCpy $0 ${LIBRARY}
  StrCpy $5 ${MACHINE}
  StrCpy $6 "$INSTDIR${PLACE}\engines\${LIBRARY}"
  Call FindEngine
!macroend

; An engine, unless programs of its size have another of its name.
!macro StageEngine LIBRARY
  !insertmacro FindEngine ${LIBRARY}
  ${If} $1 == ""
    SetOutPath "${NEW}${PLACE}\engines"
    File "${SOURCE}/engines/${LIBRARY}" "${SOURCE}/engines/*.txt"
  ${EndIf}
!macroend

; $0, an engine's name, to its path in $1 where it is on the search path of every program whose machine
; word is $5, and not our own, $6; else "".
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
    FileSeek $3 60 ; where the offset of the header stands
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

; $R3 gets the sizes whose programs have no engine of the name, $R4 the path of one that some have.
!macro AskForEngine LIBRARY
  !insertmacro FindEngine ${LIBRARY}
  ${If} $1 == ""
    StrCpy $R3 "$R3${BITS}"
  ${Else}
    StrCpy $R4 $1
  ${EndIf}
!macroend

; Leaves an engine's box empty and grey where all programs have one of its name; TEXT says why.
!macro LookForEngine SECTION LIBRARY TEXT FORMATS
  StrCpy $R3 ""
  StrCpy $R4 ""
  ${ForEachSize} "AskForEngine ${LIBRARY}"
  ${If} $R4 == ""
    StrCpy ${TEXT} "${LIBRARY}: ${FORMATS} for real, by libavcodec."
  ${ElseIf} $R3 == ""
    StrCpy ${TEXT} "Stays out: this system has an engine of that name already, $R4."
    SectionSetText ${SECTION} "${FORMATS}: there already, $R4"
    SectionSetFlags ${SECTION} ${SF_RO}
  ${Else}
    StrCpy ${TEXT} "For $R3-bit programs only: all others have an engine of that name already, $R4."
    SectionSetText ${SECTION} "${FORMATS}: for $R3-bit programs"
  ${EndIf}
!macroend
