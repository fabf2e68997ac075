; Replaces an installation: the new files are unpacked to a folder, the old ones are moved aside, the new
; ones are moved into place and registered. A failure up to here restores everything. Then the old files
; are deleted, those of another folder last.

Var OldFolder     ; the present installation, or ""
Var OldComponents
Var Reason        ; of a failure
Var Phase         ; one of these; Undo depends on it
!define UNPACKING 0
!define MOVING 1
!define PLACING 2
!define REGISTERING 3

!macro UndoAndFail TEXT
  StrCpy $Reason "${TEXT}"
  Call Undo
  ${Fail} 2 "$Reason Nothing was changed."
!macroend

; Runs before the sections that unpack.
Section "-Prepare"
  StrCpy $Phase ${UNPACKING}
  ${Log} "Folder: $INSTDIR; present installation: $OldFolder"
  ${If} $OldFolder != ""
  ${AndIf} $OldFolder != $INSTDIR
    !insertmacro RefuseWithin $OldFolder $INSTDIR
    !insertmacro RefuseWithin $INSTDIR $OldFolder
  ${EndIf}
  !insertmacro CheckSpace
  ; Repairs after an interrupted run.
  ${ForEachFileAndUninstaller} PutBack
  RMDir /r "${NEW}"
  ClearErrors
  SetOutPath "${NEW}\licences"
  ${If} ${Errors}
    !insertmacro UndoAndFail "Cannot create or write the folder $INSTDIR."
  ${EndIf}
  File /r "${STAGE}/licences/*"
SectionEnd

; Restores the state before the run.
Function Undo
  ${Log} "Restoring the previous state."
  SetOutPath $TEMP
  ${If} $Phase = ${REGISTERING}
    ${ForEachSize} "UnregisterAll $INSTDIR"
  ${EndIf}
  ${If} $Phase >= ${PLACING}
    ${ForEachFileAndUninstaller} "Clear $INSTDIR"
  ${EndIf}
  ${ForEachFileAndUninstaller} PutBack
  ${If} $Phase = ${REGISTERING}
    ${If} $OldFolder == ""
      DeleteRegKey HKLM "${ENTRY}"
    ${Else}
      ${ForEachSize} "RegisterAll $OldFolder $OldComponents"
    ${EndIf}
  ${EndIf}
  RMDir /r "${NEW}"
  !insertmacro RemoveFolders "${OLD}"
  RMDir "${OLD}"
  !insertmacro RemoveFolders $INSTDIR
  StrCpy $0 $INSTDIR
  ${DoUntil} $0 == $Parent
    RMDir $0 ; up to the folder that existed
    ${GetParent} $0 $0
  ${Loop}
  SetRebootFlag false
FunctionEnd

; NSIS calls this when a file cannot be unpacked.
Function .onInstFailed
  !insertmacro UndoAndFail "Cannot unpack the files to $INSTDIR."
FunctionEnd
