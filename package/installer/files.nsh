; The files of an installation, and how to move and delete them.

; New files wait in the first folder until all are unpacked, replaced ones in the second until the new
; ones are registered.
!define NEW "$INSTDIR\~new"
!define OLD "$INSTDIR\~old"

; Runs DO, a macro with its arguments, with each file that an installation may have as a last argument.
; The uninstaller is separate, because it cannot delete itself.
!macro ForEachFile DO
  !insertmacro ForEachFileOfSize "" `${DO}`
  !insertmacro ForEachFileOfSize "x64\" `${DO}`
  !insertmacro ${DO} README.txt
  !insertmacro ${DO} CHANGELOG.txt
  !insertmacro ${DO} docs\info-schema.json
  !insertmacro ${DO} include\play_file.cpp
  !insertmacro ${DO} include\filters\encode_parameter.h
  !insertmacro ${DO} include\platform\class_ids.h
  !insertmacro ${DO} include\platform\footage_info.h
  !insertmacro ${DO} include\settings\encode_parameter_block.h
  !insertmacro ${DO} licences\LGPL-2.1.txt
  !insertmacro ${DO} licences\SOURCE.txt
  !insertmacro ${DO} licences\libcli11-dev.txt
  !insertmacro ${DO} licences\mingw-w64-common.txt
  !insertmacro ${DO} licences\nlohmann-json3-dev.txt
  !insertmacro ${DO} licences\scripts\emulation.sh
  !insertmacro ${DO} licences\scripts\engines
  !insertmacro ${DO} licences\scripts\lib.sh
  !insertmacro ${DO} licences\scripts\packages.sh
!macroend
!macro ForEachFileOfSize FOLDER DO
  !insertmacro ${DO} "${FOLDER}nyxcodecs.dll"
  !insertmacro ${DO} "${FOLDER}nyxsource.dll"
  !insertmacro ${DO} "${FOLDER}nyxshell.dll"
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

; Creates the folders in ROOT; removes those that are empty.
!macro MakeFolders ROOT
  CreateDirectory "${ROOT}\docs"
  CreateDirectory "${ROOT}\include\filters"
  CreateDirectory "${ROOT}\include\platform"
  CreateDirectory "${ROOT}\include\settings"
  CreateDirectory "${ROOT}\engines"
  CreateDirectory "${ROOT}\x64\engines"
  CreateDirectory "${ROOT}\licences\scripts"
!macroend
!macro RemoveFolders ROOT
  RMDir "${ROOT}\docs"
  RMDir "${ROOT}\include\filters"
  RMDir "${ROOT}\include\platform"
  RMDir "${ROOT}\include\settings"
  RMDir "${ROOT}\include"
  RMDir "${ROOT}\engines"
  RMDir "${ROOT}\x64\engines"
  RMDir "${ROOT}\x64"
  RMDir "${ROOT}\licences\scripts"
  RMDir "${ROOT}\licences"
!macroend

; Unpacks a file for the current word size: see ForEachSize.
!macro Stage FILE
  SetOutPath "${NEW}${PLACE}"
  File "${SOURCE}/${FILE}"
!macroend

; Moves a file if it exists. Sets the error flag on failure.
!macro Move FROM TO FILE
  ${If} ${FileExists} "${FROM}\${FILE}"
    Rename "${FROM}\${FILE}" "${TO}\${FILE}"
  ${EndIf}
!macroend

; Deletes a file. A file that a program has loaded is renamed, and deleted when the system restarts.
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
