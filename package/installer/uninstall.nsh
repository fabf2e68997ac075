; The uninstaller.

Function un.onInit
  ReadRegStr $0 HKLM "${ENTRY}" InstallLocation
  ${If} $0 == ""
    ${Fail} 0 "Nothing is installed."
  ${EndIf}
  ; Another path may name the same folder.
  ${If} $0 != $INSTDIR
  ${AndIfNot} ${FileExists} "$INSTDIR\nyxcodecs.dll"
    ${Fail} 0 "Nothing is installed in $INSTDIR."
  ${EndIf}
FunctionEnd

Section Uninstall
  ${ForEachSize} "UnregisterAll $INSTDIR"
  SetShellVarContext all
  !insertmacro ClearMenu
  ReadRegStr $0 HKLM "${ENTRY}" Components
  !insertmacro ClearPairs $0
  !insertmacro ChangePath remove $INSTDIR
  ${ForEachFile} "Clear $INSTDIR"
  DeleteRegKey HKLM "${ENTRY}"
  Delete "$INSTDIR\uninstall.exe"
  !insertmacro RemoveFolders $INSTDIR
  RMDir /REBOOTOK "$INSTDIR"
  SetRebootFlag false
SectionEnd
