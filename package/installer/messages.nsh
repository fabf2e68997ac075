; How the installer speaks: to whom sits before it, to the console of a script, into the file of /LOG.

Var Log     ; handle of that file, or ""
Var Console ; standard error

; In UTF-16, for names of any language.
!macro OpenLog FILE
  ClearErrors
  FileOpen $Log "${FILE}" w
  ${If} ${Errors}
    StrCpy $Log ""
    ${Fail} 2 "The file of /LOG cannot be written: ${FILE}"
  ${EndIf}
  FileWriteUTF16LE /BOM $Log "${PRODUCT} ${VERSION}$\r$\n"
!macroend

!macro Log TEXT
  ${If} $Log != ""
    FileWriteUTF16LE $Log "${TEXT}$\r$\n"
  ${EndIf}
!macroend
!define Log "!insertmacro Log"

; To the console that this was started from or to where standard error goes; -12 is that handle.
!macro Print TEXT
  System::Call 'kernel32::AttachConsole(i -1)'
  System::Call 'kernel32::GetStdHandle(i -12) p .s'
  Pop $Console
  FileWrite $Console "${TEXT}$\r$\n"
!macroend

; Ends with a message and an exit code. Without questions the message goes to the console.
!macro Fail CODE TEXT
  ${Log} "${TEXT}"
  ${Log} "Ends with ${CODE}."
  ${If} ${Silent}
    !insertmacro Print "${TEXT}"
  ${EndIf}
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Fail "!insertmacro Fail"
