; Runs after the sections that unpack: see replace.nsh.

!macro UndoOnErrors
  ${If} ${Errors}
    !insertmacro UndoAndFail "Cannot write or replace a file of $INSTDIR."
  ${EndIf}
!macroend

!macro RegisterOrFail OPTIONS FILE
  StrCpy $R0 0
  !insertmacro Register "${OPTIONS}" $INSTDIR ${FILE}
  ${If} $R0 != 0
    !insertmacro UndoAndFail "Cannot register $INSTDIR${PLACE}\${FILE} (regsvr32: $R0)."
  ${EndIf}
!macroend

; Without a component, its old module removes its own entries.
!macro UnregisterUnless SECTION FILE
  ${IfNot} ${SectionIsSelected} ${SECTION}
    !insertmacro Register /u "${OLD}" ${FILE}
    ${If} $OldFolder != ""
      !insertmacro Register /u $OldFolder ${FILE}
    ${EndIf}
  ${EndIf}
!macroend

Section "-Finish"
  StrCpy $R1 ","
  ${ForEachChoice} AddChoice
  ${Log} "Components: $R1"
  SetOutPath "$INSTDIR"
  ClearErrors
  WriteUninstaller "${NEW}\uninstall.exe"
  StrCpy $Phase ${MOVING}
  !insertmacro MakeFolders "${OLD}"
  !insertmacro MakeFolders $INSTDIR
  ${ForEachFileAndUninstaller} `Move "$INSTDIR" "${OLD}"`
  !insertmacro UndoOnErrors
  StrCpy $Phase ${PLACING}
  ${ForEachFileAndUninstaller} `Move "${NEW}" "$INSTDIR"`
  !insertmacro UndoOnErrors
  StrCpy $Phase ${REGISTERING}
  ${If} $OldFolder == ""
    !insertmacro WriteEntry $R1
  ${EndIf}
  ${ForEachSize} `RegisterOrFail "" nyxcodecs.dll`
  ${ForEachSize} "UnregisterUnless ${SecSource} nyxsource.dll"
  ${ForEachSize} "UnregisterUnless ${SecShell} nyxshell.dll"
  ${ForEachSize} `RegisterOrFail "/n /i:$R1" nyxsource.dll`
  ${ForEachSize} `RegisterOrFail "" nyxshell.dll`

  ; From here on nothing is undone.
  !insertmacro ClearMenu
  ${If} ${SectionIsSelected} ${SecHost}
    !insertmacro WriteMenu
  ${EndIf}
  ${If} ${SectionIsSelected} ${SecPairs}
    WriteRegDWORD HKCU "${SETTINGS}" pair_mono 1
  ${Else}
    !insertmacro ClearPairs $OldComponents
  ${EndIf}
  ${If} $OldFolder != ""
    !insertmacro ChangePath remove $OldFolder
  ${EndIf}
  ${If} ${SectionIsSelected} ${SecPath}
    !insertmacro ChangePath add $INSTDIR
  ${EndIf}
  ${ForEachFileAndUninstaller} `Clear "${OLD}"`
  !insertmacro RemoveFolders "${OLD}"
  RMDir /REBOOTOK "${OLD}"
  !insertmacro RemoveFolders "${NEW}"
  RMDir "${NEW}"
  GetTempFileName $R2 $INSTDIR
  ${GetFileName} $R2 $R3
  ${If} $OldFolder != ""
  ${AndIfNot} ${FileExists} "$OldFolder\$R3" ; else both paths name one folder
    ${ForEachFileAndUninstaller} "Clear $OldFolder"
    !insertmacro RemoveFolders $OldFolder
    RMDir /REBOOTOK $OldFolder
  ${EndIf}
  Delete $R2
  !insertmacro RemoveFolders $INSTDIR
  !insertmacro WriteEntry $R1
  ${Log} "Installed."
  ; Renamed files can wait for any restart.
  SetRebootFlag false
SectionEnd
