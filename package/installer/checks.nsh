; What must be so before anything is changed.

; The nearest folder that is there, from $INSTDIR upwards, in $Parent; "" where a file is in the way, where
; there is no such drive, and for what is no whole path.
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
    ${Fail} 2 "There cannot be such a folder: $INSTDIR"
  ${EndIf}
!macroend

; $INSTDIR is what /D names.
Function TakeFolder
  ${Do}
    StrCpy $R8 $Folder 1 -1
    ${If} $R8 != "\"
      ${Break}
    ${EndIf}
    StrCpy $Folder $Folder -1
  ${Loop}
  StrCpy $INSTDIR $Folder ; which leaves out what no name may have
  ${If} $INSTDIR != $Folder
    ${Fail} 2 "There cannot be such a folder: $Folder"
  ${EndIf}
  !insertmacro CheckFolder
FunctionEnd

; In MiB, each section's rounded up. What is there already stays until the new files are in place.
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
  ${Log} "Space: $1 MiB of $2 MiB."
  ${If} $1 > $2
    ${Fail} 2 "There are $2 MiB of space for $INSTDIR, and $1 MiB are needed."
  ${EndIf}
!macroend

; One of the two folders within the other: their files could have the same names.
!macro RefuseWithin OUTER INNER
  StrLen $0 "${OUTER}\"
  StrCpy $1 "${INNER}\" $0
  ${If} $1 == "${OUTER}\"
    ${Fail} 2 "$INSTDIR and the present installation, $OldFolder, cannot be one within the other."
  ${EndIf}
!macroend

!macro CheckRights
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != Admin
    ${Fail} 740 "Only an administrator can install the ${PRODUCT}."
  ${EndIf}
!macroend

!macro CheckProcessor
  InitPluginsDir
  File /oname=$PLUGINSDIR\processor_check.exe "${STAGE}/processor_check.exe"
  ExecWait '"$PLUGINSDIR\processor_check.exe"' $0
  ${If} $0 != 0
    ${Fail} 1 "This processor does not have SSSE3, which the ${PRODUCT} need."
  ${EndIf}
!macroend
