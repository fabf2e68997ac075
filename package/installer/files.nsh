; The files of an installation, and how they come and go.

; Where new files wait until all are there, and replaced ones until the new ones are registered.
!define NEW "$INSTDIR\~new"
!define OLD "$INSTDIR\~old"

; Does a macro with its arguments, DO, and each file that an installation may have as the last of them;
; the uninstaller, which cannot take itself out, only where it is named.
!macro ForEachFile DO
  !insertmacro ForEachFileOfSize "" `${DO}`
  !insertmacro ForEachFileOfSize "x64\" `${DO}`
  !insertmacro ${DO} README.txt
  !insertmacro ${DO} CHANGELOG.txt
  !insertmacro ${DO} licences\LGPL-2.1.txt
  !insertmacro ${DO} licences\SOURCE.txt
  !insertmacro ${DO} licences\libcli11-dev.txt
  !insertmacro ${DO} licences\mingw-w64-common.txt
  !insertmacro ${DO} licences\scripts\emulation.sh
  !insertmacro ${DO} licences\scripts\engines
  !insertmacro ${DO} licences\scripts\lib.sh
  !insertmacro ${DO} licences\scripts\packages.sh
!macroend
!macro ForEachFileOfSize FOLDER DO
  !insertmacro ${DO} "${FOLDER}nyxcodecs.dll"
  !insertmacro ${DO} "${FOLDER}nyxsource.dll"
  !insertmacro ${DO} "${FOLDER}nyxhost.exe"
  !insertmacro ${DO} "${FOLDER}engines\rkdvh.dll"
  !insertmacro ${DO} "${FOLDER}engines\rkm2vi01.dll"
  !insertmacro ${DO} "${FOLDER}engines\LGPL-2.1.txt"
  !insertmacro ${DO} "${FOLDER}engines\SOURCE.txt"
!macroend
!macro ForEachFileAndUninstaller DO
  !insertmacro ForEachFile `${DO}`
  !insertmacro ${DO} uninstall.exe
!macroend
!define ForEachFile "!insertmacro ForEachFile"
!define ForEachFileAndUninstaller "!insertmacro ForEachFileAndUninstaller"

; The folders in ROOT, and their end where they are empty.
!macro MakeFolders ROOT
  CreateDirectory "${ROOT}\engines"
  CreateDirectory "${ROOT}\x64\engines"
  CreateDirectory "${ROOT}\licences\scripts"
!macroend
!macro RemoveFolders ROOT
  RMDir "${ROOT}\engines"
  RMDir "${ROOT}\x64\engines"
  RMDir "${ROOT}\x64"
  RMDir "${ROOT}\licences\scripts"
  RMDir "${ROOT}\licences"
!macroend

; Unpacks a file of each size.
!macro Stage FILE
  SetOutPath "${NEW}${PLACE}"
  File "${SOURCE}/${FILE}"
!macroend

; Sets the error flag where a file is there and cannot go.
!macro Move FROM TO FILE
  ${If} ${FileExists} "${FROM}\${FILE}"
    Rename "${FROM}\${FILE}" "${TO}\${FILE}"
  ${EndIf}
!macroend

; Takes a file away. One that a program has loaded can be renamed but not deleted: the rest of it goes
; when the system starts next.
!macro Clear ROOT FILE
  ${If} ${FileExists} "${ROOT}\${FILE}"
    ClearErrors
    Delete "${ROOT}\${FILE}"
    ${If} ${Errors}
      GetTempFileName $R9 "${ROOT}"
      Delete $R9
      Rename "${ROOT}\${FILE}" $R9
      Delete /REBOOTOK $R9
    ${EndIf}
  ${EndIf}
!macroend

!macro PutBack FILE
  ${If} ${FileExists} "${OLD}\${FILE}"
    !insertmacro Clear "$INSTDIR" "${FILE}"
    Rename "${OLD}\${FILE}" "$INSTDIR\${FILE}"
  ${EndIf}
!macroend
