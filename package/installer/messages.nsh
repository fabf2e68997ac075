; Messages of the installer: message boxes, the console of a script, the file of /LOG.

Var Log     ; handle of the log file, or ""
Var Console ; standard error

; UTF-16, for names in any language.
!macro OpenLog FILE
  ClearErrors
  FileOpen $Log "${FILE}" w
  ${If} ${Errors}
    StrCpy $Log ""
    ${Fail} 2 "Cannot write the log file: ${FILE}"
  ${EndIf}
  FileWriteUTF16LE /BOM $Log "${PRODUCT} ${VERSION}$\r$\n"
!macroend

!macro Log TEXT
  ${If} $Log != ""
    FileWriteUTF16LE $Log "${TEXT}$\r$\n"
  ${EndIf}
!macroend
!define Log "!insertmacro Log"

; Prints to standard error, which is -12, or to the console that started the installer.
!macro Print TEXT
  System::Call 'kernel32::AttachConsole(i -1)'
  System::Call 'kernel32::GetStdHandle(i -12) p .s'
  Pop $Console
  FileWrite $Console "${TEXT}$\r$\n"
!macroend

; Exits with a message and an exit code. With /S the message goes to the console.
!macro Fail CODE TEXT
  ${Log} "${TEXT}"
  ${Log} "Exit code: ${CODE}"
  ${If} ${Silent}
    !insertmacro Print "${TEXT}"
  ${EndIf}
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Fail "!insertmacro Fail"
