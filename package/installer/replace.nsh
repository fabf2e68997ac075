; How an installation comes into place: the new files are unpacked beside, the old ones are moved aside, the
; new ones into place and registered. Until then all can be put back, and is when anything fails; only
; then do the old files go, those of another folder last.

Var OldFolder     ; the installation that there is, or ""
Var OldComponents
Var Reason        ; why it fails
Var Phase         ; what may have to be put back: one of
!define UNPACKING 0
!define MOVING 1
!define PLACING 2
!define REGISTERING 3

!macro UndoAndFail TEXT
  StrCpy $Reason "${TEXT}"
  Call Undo
  ${Fail} 2 "$Reason Nothing was changed."
!macroend

; Before the sections that unpack.
Section "-Prepare"
  StrCpy $Phase ${UNPACKING}
  ${Log} "Folder: $INSTDIR, present one: $OldFolder"
  ${If} $OldFolder != ""
  ${AndIf} $OldFolder != $INSTDIR
    !insertmacro RefuseWithin $OldFolder $INSTDIR
    !insertmacro RefuseWithin $INSTDIR $OldFolder
  ${EndIf}
  !insertmacro CheckSpace
  ; From a run that was cut off.
  ${ForEachFileAndUninstaller} PutBack
  RMDir /r "${NEW}"
  ClearErrors
  SetOutPath "${NEW}\licences"
  ${If} ${Errors}
    !insertmacro UndoAndFail "The folder $INSTDIR cannot be made or written to."
  ${EndIf}
  File /r "${STAGE}/licences/*"
SectionEnd

; Puts everything back as it was.
Function Undo
  ${Log} "Putting everything back."
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
    RMDir $0 ; unless it was there
    ${GetParent} $0 $0
  ${Loop}
  SetRebootFlag false
FunctionEnd

; A file could not be unpacked.
Function .onInstFailed
  !insertmacro UndoAndFail "The files could not be unpacked to $INSTDIR."
FunctionEnd
