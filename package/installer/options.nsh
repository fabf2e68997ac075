; The command line.

Var Components ; the list of /COMPONENTS, or ""
Var Folder     ; the folder of /D, or ""

!define OPTIONS "decoders,source,mxf,gxf,avi,dv,avi-dv,mov,pair-mono,engines,shell,tools,path"

!macro Usage CODE TEXT
  ${Fail} ${CODE} "${TEXT}$\r$\n\
$\r$\n\
/S$\tinstalls without questions$\r$\n\
/COMPONENTS=LIST$\tinstalls exactly these of ${OPTIONS}; decoders always$\r$\n\
/LOG=FILE$\twrites a log$\r$\n\
/D=FOLDER$\tthe folder to install to, in quotes or as the last option"
!macroend

; Moves the first word of $R8 to $R9, without its quotes. As in all NSIS installers, an unquoted /D=
; extends to the end of the line.
Function NextWord
  StrCpy $R9 ""
  StrCpy $R7 "" ; a quote while inside
  ${Do}
    StrCpy $R6 $R8 1
    ${If} $R6 != " "
    ${AndIf} $R6 != "$\t"
      ${Break}
    ${EndIf}
    StrCpy $R8 $R8 "" 1
  ${Loop}
  StrCpy $R6 $R8 4
  ${If} $R6 != '/D="'
    StrCpy $R6 $R6 3
    ${If} $R6 == "/D="
      StrCpy $R9 $R8
      StrCpy $R8 ""
      Return
    ${EndIf}
  ${EndIf}
  ${DoWhile} $R8 != ""
    StrCpy $R6 $R8 1
    StrCpy $R8 $R8 "" 1
    ${If} $R6 == '"'
      ${If} $R7 == ""
        StrCpy $R7 $R6
      ${Else}
        StrCpy $R7 ""
      ${EndIf}
    ${Else}
      ${If} $R7 == ""
        ${If} $R6 == " "
        ${OrIf} $R6 == "$\t"
          ${Break}
        ${EndIf}
      ${EndIf}
      StrCpy $R9 "$R9$R6"
    ${EndIf}
  ${Loop}
FunctionEnd

; Sets $R4 to the value of the word $R9 if it begins with OPTION, else sets the error flag.
!macro ValueOf OPTION
  ClearErrors
  StrLen $R5 "${OPTION}"
  StrCpy $R4 $R9 $R5
  ${If} $R4 == "${OPTION}"
    StrCpy $R4 $R9 "" $R5
  ${Else}
    SetErrors
  ${EndIf}
!macroend

; Reads the command line: sets $Components, $Folder, $Log and silent mode.
Function ReadOptions
  System::Call 'kernel32::GetCommandLineW() w .R8' ; $CMDLINE ends before /D=
  Call NextWord ; the installer itself
  ${Do}
    Call NextWord
    ${If} $R9 == ""
      ${Break}
    ${ElseIf} $R9 == "/S"
      SetSilent silent
      ${Continue}
    ${ElseIf} $R9 == "/NCRC"
      ${Continue}
    ${ElseIf} $R9 == "/?"
      !insertmacro Usage 0 "${PRODUCT} ${VERSION}"
    ${EndIf}
    !insertmacro ValueOf "/COMPONENTS="
    ${IfNot} ${Errors}
      StrCpy $Components "$R4,"
      Call CheckComponents
      ${Continue}
    ${EndIf}
    !insertmacro ValueOf "/LOG="
    ${IfNot} ${Errors}
      !insertmacro OpenLog "$R4"
      ${Continue}
    ${EndIf}
    !insertmacro ValueOf "/D="
    ${If} ${Errors}
      !insertmacro Usage 1 "Unknown option: $R9"
    ${EndIf}
    StrCpy $Folder $R4
  ${Loop}
FunctionEnd

; Fails when $Components has an unknown name.
Function CheckComponents
  StrCpy $R3 0
  ${Do}
    IntOp $R3 $R3 + 1
    ClearErrors
    ${WordFind} $Components "," "E+$R3" $R2
    ${If} ${Errors}
      ${Break}
    ${EndIf}
    ClearErrors
    ${WordFind} ",${OPTIONS}," ",$R2," "E+1{" $R1
    ${If} ${Errors}
      !insertmacro Usage 1 "Unknown component: $R2"
    ${EndIf}
  ${Loop}
FunctionEnd
