; What Windows shows of an installation: the entry in the list of programs, the start menu, the search
; path.

!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\NyxCodecs"
!define MENU "$SMPROGRAMS\${PRODUCT}"

; Registers the installation in $INSTDIR. COMPONENTS is the next run's default choice.
!macro WriteEntry COMPONENTS
  WriteRegStr HKLM "${ENTRY}" DisplayName "${PRODUCT}"
  WriteRegStr HKLM "${ENTRY}" DisplayVersion "${VERSION}"
  WriteRegStr HKLM "${ENTRY}" DisplayIcon "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${ENTRY}" Publisher "${PUBLISHER}"
  WriteRegStr HKLM "${ENTRY}" InstallLocation "$INSTDIR"
  WriteRegStr HKLM "${ENTRY}" UninstallString '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${ENTRY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
  WriteRegStr HKLM "${ENTRY}" Components "${COMPONENTS}"
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKLM "${ENTRY}" EstimatedSize $0
  WriteRegDWORD HKLM "${ENTRY}" NoModify 1
  WriteRegDWORD HKLM "${ENTRY}" NoRepair 1
!macroend

; A prompt with nyxhost on its search path, and the readme.
!macro WriteMenu
  CreateDirectory "${MENU}"
  SetOutPath "$INSTDIR" ; the prompt's first folder
  CreateShortcut "${MENU}\Nyx footage.lnk" "$SYSDIR\cmd.exe" \
    '/k "set "PATH=$INSTDIR;%PATH%" & nyxhost --help"' "$INSTDIR\nyxhost.exe" 0 SW_SHOWNORMAL "" \
    "A prompt for nyxhost, which plays, describes and encodes footage"
  CreateShortcut "${MENU}\Nyx player.lnk" "$INSTDIR\nyxhost.exe" play "" 0 SW_SHOWMINIMIZED "" "Plays a file of footage"
  CreateShortcut "${MENU}\README.lnk" "$INSTDIR\README.txt"
!macroend
!macro ClearMenu
  Delete "${MENU}\Nyx footage.lnk"
  Delete "${MENU}\Nyx player.lnk"
  Delete "${MENU}\README.lnk"
  RMDir "${MENU}"
!macroend

; Removes the setting of a box that is in the list COMPONENTS, with the keys that are empty then.
!define SETTINGS "Software\Veltro\Source"
!macro ClearPairs COMPONENTS
  ClearErrors
  ${WordFind} "${COMPONENTS}" ",pair-mono," "E+1{" $R2
  ${IfNot} ${Errors}
    DeleteRegValue HKCU "${SETTINGS}" pair_mono
    DeleteRegKey /ifempty HKCU "${SETTINGS}"
    DeleteRegKey /ifempty HKCU "Software\Veltro"
  ${EndIf}
!macroend

; VERB is add or remove. Search paths exceed NSIS's strings, so a program changes them.
!macro ChangePath VERB FOLDER
  InitPluginsDir
  File "/oname=$PLUGINSDIR\path_entry.exe" "${TOOLS}/path_entry.exe"
  ExecWait '"$PLUGINSDIR\path_entry.exe" ${VERB} "${FOLDER}"' $R0
  ${Log} "PATH, ${VERB} ${FOLDER}: $R0"
!macroend
