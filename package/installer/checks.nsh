; Checks before the installer changes anything.

; Sets $Parent to the nearest existing folder, from $INSTDIR upwards; to "" when a file is in the way,
; the drive does not exist or the path is not absolute.
Var Parent
Function FindParent
  StrCpy $Parent $INSTDIR
  StrCpy $R8 $INSTDIR 2
  StrCpy $R9 $INSTDIR 2 1
  ${If} $R8 != "\\"
  ${AndIf} $R9 != ":\"
    StrCpy $Parent ""
  ${EndIf}
  ${DoWhile} $Parent != ""
    StrCpy $R8 $Parent
    StrCpy $R9 $Parent "" -1
    ${If} $R9 == ":"
      StrCpy $R8 "$Parent\"
    ${EndIf}
    System::Call 'kernel32::GetFileAttributesW(w R8) i .R8'
    ${If} $R8 <> -1
      IntOp $R8 $R8 & 0x10 ; FILE_ATTRIBUTE_DIRECTORY
      ${If} $R8 = 0
        StrCpy $Parent ""
      ${EndIf}
      ${Break}
    ${EndIf}
    ${GetParent} $Parent $Parent
  ${Loop}
FunctionEnd

!macro CheckFolder
  Call FindParent
  ${If} $Parent == ""
    ${Fail} 2 "Not a valid folder: $INSTDIR"
  ${EndIf}
!macroend

; Sets $INSTDIR to the folder of /D.
Function SetFolder
  ${Do}
    StrCpy $R8 $Folder 1 -1
    ${If} $R8 != "\"
      ${Break}
    ${EndIf}
    StrCpy $Folder $Folder -1
  ${Loop}
  StrCpy $INSTDIR $Folder ; drops characters that names cannot have
  ${If} $INSTDIR != $Folder
    ${Fail} 2 "Not a valid folder: $Folder"
  ${EndIf}
  !insertmacro CheckFolder
FunctionEnd

; Compares in MiB, each section rounded up. Installed files stay until the new ones are in place.
!macro CheckSpace
  !insertmacro CheckFolder
  StrCpy $0 0
  StrCpy $1 0
  ${Do}
    ClearErrors
    SectionGetFlags $0 $2
    SectionGetSize $0 $3
    ${If} ${Errors}
      ${Break}
    ${EndIf}
    IntOp $2 $2 & ${SF_SELECTED}
    ${If} $2 <> 0
      IntOp $3 $3 + 1023
      IntOp $3 $3 / 1024
      IntOp $1 $1 + $3
    ${EndIf}
    IntOp $0 $0 + 1
  ${Loop}
  System::Call 'kernel32::GetDiskFreeSpaceExW(w "$Parent\", *l .r2, p 0, p 0)'
  System::Int64Op $2 / 1048576
  Pop $2
  ${Log} "Space: $1 MiB needed, $2 MiB free."
  ${If} $1 > $2
    ${Fail} 2 "$INSTDIR needs $1 MiB; $2 MiB are free."
  ${EndIf}
!macroend

; Fails when INNER is inside OUTER: their files could have the same names.
!macro RefuseWithin OUTER INNER
  StrLen $0 "${OUTER}\"
  StrCpy $1 "${INNER}\" $0
  ${If} $1 == "${OUTER}\"
    ${Fail} 2 "$INSTDIR and the present installation, $OldFolder, must not contain each other."
  ${EndIf}
!macroend

!macro CheckRights
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != Admin
    ${Fail} 740 "Administrator rights are needed to install the ${PRODUCT}."
  ${EndIf}
!macroend

!macro CheckProcessor
  InitPluginsDir
  File /oname=$PLUGINSDIR\processor_check.exe "${STAGE}/processor_check.exe"
  ExecWait '"$PLUGINSDIR\processor_check.exe"' $0
  ${If} $0 != 0
    ${Fail} 1 "The ${PRODUCT} need a processor with SSSE3."
  ${EndIf}
!macroend
