; The installer. scripts/package gives VERSION (three numbers), STAGE (the files) and OUTPUT.

Unicode true
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include Sections.nsh
!include WordFunc.nsh
!include x64.nsh

!define PRODUCT "Nyx codecs"
!define PUBLISHER "Nyx codec project"
!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\NyxCodecs"

Name "${PRODUCT} ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES32\${PRODUCT}"
InstallDirRegKey HKLM "${ENTRY}" InstallLocation
RequestExecutionLevel admin
AllowSkipFiles off
ManifestDPIAware true
SetCompressor /SOLID lzma
ShowInstDetails nevershow
ShowUninstDetails nevershow
BrandingText " "

VIProductVersion "${VERSION}.0"
VIAddVersionKey FileDescription "Installer of the ${PRODUCT}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey ProductName "${PRODUCT}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey CompanyName "${PUBLISHER}"
VIAddVersionKey LegalCopyright "Terms of what it contains: folder licences"

Var Welcome
Var DvText
Var MpegText

!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_SMALLDESC
!define MUI_PAGE_HEADER_SUBTEXT "$Welcome"
!define MUI_PAGE_CUSTOMFUNCTION_SHOW ShowComponents
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_TEXT "${PRODUCT} ${VERSION} is installed.$\r$\n$\r$\nPrograms that are running keep what they have loaded until they are started again."
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; Ends with a message, in silence too, and an exit code.
!macro Fail CODE TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Fail "!insertmacro Fail"

; Does a macro with its arguments, DO, for each size of words that programs of this system may have.
; What it is written with: BITS, that size; FROM and TO, where files of that size come from and go;
; REGSVR, what registers them; MACHINE, the word that they have in their headers.
!macro ForEachSize DO
  !insertmacro ForSize 32 "${STAGE}" "$INSTDIR" "$SYSDIR" 0x014c `${DO}`
  ${If} ${IsNativeAMD64}
    !insertmacro ForSize 64 "${STAGE}/x64" "$INSTDIR\x64" "$WINDIR\Sysnative" 0x8664 `${DO}`
  ${EndIf}
!macroend
!macro ForSize SIZE SOURCE TARGET SYSTEM WORD DO
  !define BITS ${SIZE}
  !define FROM "${SOURCE}"
  !define TO "${TARGET}"
  !define REGSVR "${SYSTEM}\regsvr32.exe"
  !define MACHINE ${WORD}
  !insertmacro ${DO}
  !undef BITS
  !undef FROM
  !undef TO
  !undef REGSVR
  !undef MACHINE
!macroend
!define ForEachSize "!insertmacro ForEachSize"

; Takes a file away. One that a program has loaded can be renamed but not deleted: the rest of it goes
; when the system starts next.
!macro Clear FILE
  ClearErrors
  Delete "${TO}\${FILE}"
  ${If} ${Errors}
    GetTempFileName $R9 $INSTDIR
    Delete $R9
    Rename "${TO}\${FILE}" $R9
    Delete /REBOOTOK $R9
  ${EndIf}
!macroend

!macro Put FILE
  SetOutPath "${TO}"
  !insertmacro Clear ${FILE}
  File "${FROM}/${FILE}"
!macroend

; regsvr32 in a process of its own, so that nothing of the module stays loaded here.
!macro Register OPTIONS FILE
  ExecWait '"${REGSVR}" /s ${OPTIONS} "${TO}\${FILE}"' $R0
  ${If} $R0 != 0
    ${Fail} 2 "${TO}\${FILE} could not be registered (regsvr32: $R0)."
  ${EndIf}
!macroend
!macro Unregister FILE
  ${If} ${FileExists} "${TO}\${FILE}"
    ExecWait '"${REGSVR}" /s /u "${TO}\${FILE}"'
    !insertmacro Clear ${FILE}
  ${EndIf}
!macroend

; What function FindEngine is asked.
!macro FindEngine LIBRARY
  StrCpy $0 ${LIBRARY}
  StrCpy $5 ${MACHINE}
  StrCpy $6 "${TO}\engines\${LIBRARY}"
  Call FindEngine
!macroend

; An engine, unless programs of its size have another of its name.
!macro PutEngine LIBRARY
  !insertmacro FindEngine ${LIBRARY}
  !insertmacro Clear engines\${LIBRARY}
  ${If} $1 == ""
    SetOutPath "${TO}\engines"
    File "${FROM}/engines/${LIBRARY}" "${FROM}/engines/*.txt"
  ${EndIf}
!macroend
; The folder goes with the last of them.
!macro TidyEngines
  ${IfNot} ${FileExists} "${TO}\engines\rkdvh.dll"
  ${AndIfNot} ${FileExists} "${TO}\engines\rkm2vi01.dll"
    Delete "${TO}\engines\LGPL-2.1.txt"
    Delete "${TO}\engines\SOURCE.txt"
    RMDir "${TO}\engines"
  ${EndIf}
!macroend

!macro ClearHost
  ${ForEachSize} "Clear nyxhost.exe"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\CHANGELOG.txt"
!macroend

!macro ClearLicences
  Delete "$INSTDIR\licences\scripts\engines"
  Delete "$INSTDIR\licences\scripts\*.sh"
  RMDir "$INSTDIR\licences\scripts"
  Delete "$INSTDIR\licences\*.txt"
  RMDir "$INSTDIR\licences"
!macroend

Section "-Prepare"
  ; An installation in another folder gives way.
  ReadRegStr $0 HKLM "${ENTRY}" InstallLocation
  ${If} $0 != ""
  ${AndIf} $0 != $INSTDIR
    ExecWait '"$0\uninstall.exe" /S _?=$0'
    Delete "$0\uninstall.exe"
    RMDir "$0"
  ${EndIf}
  SetOutPath $INSTDIR\licences
  File /r "${STAGE}/licences/*"
SectionEnd

Section "Decoders and encoder" SecCodecs
  SectionIn RO
  ${ForEachSize} "Put nyxcodecs.dll"
  ${ForEachSize} `Register "" nyxcodecs.dll`
SectionEnd

SectionGroup /e "Footage source" GroupSource
  Section "Source filter" SecSource
    ${ForEachSize} "Put nyxsource.dll"
  SectionEnd
  Section "opens MXF files" SecMxf
  SectionEnd
  Section "opens GXF files" SecGxf
  SectionEnd
  Section "opens AVI files of these codecs" SecAvi
  SectionEnd
  Section "opens raw DV files (.dv, .dif)" SecDvFiles
  SectionEnd
SectionGroupEnd

SectionGroup /e "Open engines" GroupEngines
  Section "DV, DVCPRO50, DVCPRO HD" SecDv
    ${ForEachSize} "PutEngine rkdvh.dll"
  SectionEnd
  Section "MPEG-2 intra" SecMpeg
    ${ForEachSize} "PutEngine rkm2vi01.dll"
  SectionEnd
SectionGroupEnd

Section "nyxhost and documents" SecHost
  ${ForEachSize} "Put nyxhost.exe"
  SetOutPath $INSTDIR
  File "${STAGE}/README.txt" "${STAGE}/CHANGELOG.txt"
SectionEnd

; KIND and its comma join $R1 when its box is checked.
!macro AddKind SECTION KIND
  ${If} ${SectionIsSelected} ${SECTION}
    StrCpy $R1 "$R1,${KIND}"
  ${EndIf}
!macroend

Section "-Finish"
  StrCpy $R1 ""
  !insertmacro AddKind ${SecMxf} mxf
  !insertmacro AddKind ${SecGxf} gxf
  !insertmacro AddKind ${SecAvi} avi
  !insertmacro AddKind ${SecDvFiles} dv
  ${If} ${SectionIsSelected} ${SecSource}
    ${ForEachSize} `Register "/n /i:$R1" nyxsource.dll`
    StrCpy $R1 "$R1,source"
  ${Else}
    ${ForEachSize} "Unregister nyxsource.dll"
  ${EndIf}
  !insertmacro AddKind ${SecDv} rkdvh
  !insertmacro AddKind ${SecMpeg} rkm2vi01
  !insertmacro AddKind ${SecHost} host
  ${IfNot} ${SectionIsSelected} ${SecDv}
    ${ForEachSize} "Clear engines\rkdvh.dll"
  ${EndIf}
  ${IfNot} ${SectionIsSelected} ${SecMpeg}
    ${ForEachSize} "Clear engines\rkm2vi01.dll"
  ${EndIf}
  ${ForEachSize} TidyEngines
  ${IfNot} ${SectionIsSelected} ${SecHost}
    !insertmacro ClearHost
  ${EndIf}

  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegStr HKLM "${ENTRY}" DisplayName "${PRODUCT}"
  WriteRegStr HKLM "${ENTRY}" DisplayVersion "${VERSION}"
  WriteRegStr HKLM "${ENTRY}" DisplayIcon "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${ENTRY}" Publisher "${PUBLISHER}"
  WriteRegStr HKLM "${ENTRY}" InstallLocation "$INSTDIR"
  WriteRegStr HKLM "${ENTRY}" UninstallString '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${ENTRY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
  WriteRegStr HKLM "${ENTRY}" Components "$R1,"
  WriteRegDWORD HKLM "${ENTRY}" EstimatedSize $0
  WriteRegDWORD HKLM "${ENTRY}" NoModify 1
  WriteRegDWORD HKLM "${ENTRY}" NoRepair 1
  ; What was renamed may wait for any start of the system.
  SetRebootFlag false
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SecCodecs} "nyxcodecs.dll: eight decoders and the Zeta encoder, for every DirectShow program."
  !insertmacro MUI_DESCRIPTION_TEXT ${GroupSource} "nyxsource.dll: opens AVI, MOV, MXF, GXF, raw DV and MPEG-2 files of other programs, picture and sound."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecSource} "Programs find it by the name Nyx Footage Source, and by the kinds of files below."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecMxf} "Programs open MXF files by the source filter, unless another one is entered for them already."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecGxf} "Programs open GXF files by the source filter, unless another one is entered for them already."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecAvi} "Only AVI files whose picture one of these decoders plays; all others stay as they are."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecDvFiles} "Programs open .dv and .dif files by the source filter, unless another one is entered for them already."
  !insertmacro MUI_DESCRIPTION_TEXT ${GroupEngines} "Open engines over libavcodec for the formats that are public standards. An engine on the search path always goes before them."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecDv} "$DvText"
  !insertmacro MUI_DESCRIPTION_TEXT ${SecMpeg} "$MpegText"
  !insertmacro MUI_DESCRIPTION_TEXT ${SecHost} "A console program that plays, describes and encodes clips, with the readme and the list of changes."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

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

; An earlier choice, a name in $R1, goes before the default.
!macro Restore SECTION NAME
  ${WordFind} $R1 ",${NAME}," "E+1{" $R2
  ${If} ${Errors}
    !insertmacro UnselectSection ${SECTION}
  ${EndIf}
!macroend

Function .onInit
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != Admin
    ${Fail} 740 "Only an administrator can install the ${PRODUCT}."
  ${EndIf}
  InitPluginsDir
  File /oname=$PLUGINSDIR\processor_check.exe "${STAGE}/processor_check.exe"
  ExecWait '"$PLUGINSDIR\processor_check.exe"' $0
  ${If} $0 != 0
    ${Fail} 1 "This processor does not have SSSE3, which the ${PRODUCT} need."
  ${EndIf}

  StrCpy $Welcome "Check what is to be installed, for every program of this system."
  ReadRegStr $0 HKLM "${ENTRY}" DisplayVersion
  ReadRegStr $R1 HKLM "${ENTRY}" Components
  ${If} $0 == "${VERSION}"
    StrCpy $Welcome "Version $0 is here. Going on repairs it and takes out what is unchecked."
  ${ElseIf} $0 != ""
    StrCpy $Welcome "Version $0 is here and will be replaced; what is unchecked is taken out."
  ${EndIf}
  ${If} $0 != ""
    !insertmacro Restore ${SecSource} source
    !insertmacro Restore ${SecMxf} mxf
    !insertmacro Restore ${SecGxf} gxf
    !insertmacro Restore ${SecAvi} avi
    !insertmacro Restore ${SecDvFiles} dv
    !insertmacro Restore ${SecDv} rkdvh
    !insertmacro Restore ${SecMpeg} rkm2vi01
    !insertmacro Restore ${SecHost} host
  ${EndIf}
  !insertmacro LookForEngine ${SecDv} rkdvh.dll $DvText "DV, DVCPRO50, DVCPRO HD"
  !insertmacro LookForEngine ${SecMpeg} rkm2vi01.dll $MpegText "MPEG-2 intra"
FunctionEnd

; Moves control ID of the page $0, in dialog units.
!macro Place ID X Y WIDTH HEIGHT
  GetDlgItem $1 $0 ${ID}
  System::Call '*(i ${X}, i ${Y}, i ${WIDTH}, i ${HEIGHT}) p .r2'
  System::Call 'user32::MapDialogRect(p r0, p r2)'
  System::Call '*$2(i .r3, i .r4, i .r5, i .r6)'
  System::Free $2
  System::Call 'user32::MoveWindow(p r1, i r3, i r4, i r5, i r6, i 1)'
!macroend

; The list takes the page's whole width and nearly its height, and is shown from its top.
Function ShowComponents
  FindWindow $0 "#32770" "" $HWNDPARENT
  GetDlgItem $1 $0 1006
  ShowWindow $1 ${SW_HIDE}
  GetDlgItem $1 $0 1022
  ShowWindow $1 ${SW_HIDE}
  !insertmacro Place 1032 0 0 300 111
  SendMessage $1 ${WM_VSCROLL} 6 0 ; SB_TOP
  !insertmacro Place 1042 0 112 215 28 ; the description's frame and text
  !insertmacro Place 1043 6 120 204 18
  !insertmacro Place 1023 218 118 82 20 ; the space required
FunctionEnd

; Kinds of files need the source filter.
Function .onSelChange
  ${IfNot} ${SectionIsSelected} ${SecSource}
    ${If} $0 = ${SecSource}
      !insertmacro UnselectSection ${SecMxf}
      !insertmacro UnselectSection ${SecGxf}
      !insertmacro UnselectSection ${SecAvi}
      !insertmacro UnselectSection ${SecDvFiles}
    ${ElseIf} ${SectionIsSelected} ${SecMxf}
    ${OrIf} ${SectionIsSelected} ${SecGxf}
    ${OrIf} ${SectionIsSelected} ${SecAvi}
    ${OrIf} ${SectionIsSelected} ${SecDvFiles}
      !insertmacro SelectSection ${SecSource}
    ${EndIf}
  ${EndIf}
FunctionEnd

; The system's list of compressors, where it made one for the encoder alone.
!macro ClearCompressors
  SetRegView ${BITS}
  DeleteRegKey /ifempty HKCR "CLSID\{33D9A760-90C8-11D0-BD43-00A0C911CE86}\Instance"
  SetRegView 32
!macroend

Section Uninstall
  ${ForEachSize} "Unregister nyxsource.dll"
  ${ForEachSize} "Unregister nyxcodecs.dll"
  ${ForEachSize} ClearCompressors
  ${ForEachSize} "Clear engines\rkdvh.dll"
  ${ForEachSize} "Clear engines\rkm2vi01.dll"
  ${ForEachSize} TidyEngines
  !insertmacro ClearHost
  RMDir "$INSTDIR\x64"
  !insertmacro ClearLicences
  DeleteRegKey HKLM "${ENTRY}"
  Delete "$INSTDIR\uninstall.exe"
  RMDir /REBOOTOK "$INSTDIR"
  SetRebootFlag false
SectionEnd
