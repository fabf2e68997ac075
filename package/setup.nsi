; The installer; its parts are in the folder installer. pack.sh defines VERSION (three numbers), STAGE
; (the files), TOOLS (path_entry.exe) and OUTPUT.

Unicode true
!addincludedir "${__FILEDIR__}/installer"
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include Sections.nsh
!include WordFunc.nsh
!include x64.nsh

!define PRODUCT "Nyx codecs"
!define PUBLISHER "Nyx codec project"

Name "${PRODUCT} ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES32\${PRODUCT}"
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
VIAddVersionKey LegalCopyright "Third-party licences: folder licences"

!include page.nsh
!define MUI_ICON "${__FILEDIR__}/nyx.ico"
!define MUI_UNICON "${__FILEDIR__}/nyx.ico"
!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_SMALLDESC
!define MUI_PAGE_HEADER_SUBTEXT "$Welcome"
!define MUI_PAGE_CUSTOMFUNCTION_SHOW ShowComponents
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_TEXT "${PRODUCT} ${VERSION} is installed.$\r$\n$\r$\nRestart running programs to use it."
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

!include messages.nsh
!include sizes.nsh
!include files.nsh
!include registration.nsh
!include entry.nsh
!include engines.nsh
!include options.nsh
!include checks.nsh
!include replace.nsh
!include components.nsh
!include finish.nsh
!include uninstall.nsh

Function .onInit
  Call ReadOptions
  !insertmacro CheckRights
  !insertmacro CheckProcessor
  SetShellVarContext all

  StrCpy $Welcome "Select the components to install for all users."
  ReadRegStr $0 HKLM "${ENTRY}" DisplayVersion
  ReadRegStr $OldFolder HKLM "${ENTRY}" InstallLocation
  ReadRegStr $OldComponents HKLM "${ENTRY}" Components
  ${If} $0 == "${VERSION}"
    StrCpy $Welcome "Version $0 is installed. Continue to repair it; unchecked components are removed."
  ${ElseIf} $0 != ""
    StrCpy $Welcome "Version $0 is installed and will be replaced; unchecked components are removed."
  ${EndIf}
  ${If} $Folder != ""
    Call SetFolder
  ${ElseIf} $OldFolder != ""
    StrCpy $INSTDIR $OldFolder
  ${EndIf}
  ${If} $Components != ""
    StrCpy $R1 $Components
    ${ForEachChoice} CheckByOption
  ${ElseIf} $0 != ""
    StrCpy $R1 $OldComponents
    ${ForEachChoice} CheckByName
  ${Else}
    ${ForEachSize} LeaveTypesToOthers
  ${EndIf}
  !insertmacro CheckRequired
  !insertmacro LookForEngine ${SecDv} rkdvh.dll $DvText "DV, DVCPRO50, DVCPRO HD"
  !insertmacro LookForEngine ${SecMpeg} rkm2vi01.dll $MpegText "MPEG-2 intra"
FunctionEnd
