; The components: the sections, their names, and which of them need another one.

Section "Decoders and encoder" SecCodecs
  SectionIn RO
  ${ForEachSize} "Stage nyxcodecs.dll"
SectionEnd

SectionGroup /e "Footage source" GroupSource
  Section "Source filter" SecSource
    ${ForEachSize} "Stage nyxsource.dll"
  SectionEnd
  Section "Open MXF files with it" SecMxf
  SectionEnd
  Section "Open GXF files with it" SecGxf
  SectionEnd
  Section "Open AVI files of these codecs with it" SecAvi
  SectionEnd
  Section "Open raw DV and MPEG-2 files with it" SecDvFiles
  SectionEnd
  Section "Open AVI files of DV and v210 with it" SecAviDv
  SectionEnd
  Section "Open MOV files of DV, DVCPRO and v210 with it" SecMov
  SectionEnd
  Section /o "Join mono tracks into stereo pairs" SecPairs
  SectionEnd
SectionGroupEnd

SectionGroup /e "Open engines" GroupEngines
  Section "DV, DVCPRO50, DVCPRO HD" SecDv
    ${ForEachSize} "StageEngine rkdvh.dll"
  SectionEnd
  Section "MPEG-2 intra" SecMpeg
    ${ForEachSize} "StageEngine rkm2vi01.dll"
  SectionEnd
SectionGroupEnd

Section "Thumbnails and properties in Explorer" SecShell
  ${ForEachSize} "Stage nyxshell.dll"
SectionEnd

Section "nyxhost, documents and headers" SecHost
  ${ForEachSize} "Stage nyxhost.exe"
  SetOutPath "${NEW}"
  File "${STAGE}/README.txt" "${STAGE}/CHANGELOG.txt"
  File /r "${STAGE}/docs" "${STAGE}/include"
SectionEnd
Section /o "nyxhost on the search path (PATH)" SecPath
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SecCodecs} "nyxcodecs.dll: eight decoders and the Zeta encoder, for every DirectShow program."
  !insertmacro MUI_DESCRIPTION_TEXT ${GroupSource} "nyxsource.dll: opens AVI, MOV, MXF, GXF, raw DV and MPEG-2 files, video and audio, for DirectShow programs."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecSource} "Programs find it by its name, Nyx Footage Source, and for the file types below."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecMxf} "Programs open MXF files with the source filter, unless another filter is registered for them."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecGxf} "Programs open GXF files with the source filter, unless another filter is registered for them."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecAvi} "Only AVI files whose video these decoders play; other AVI files are not affected."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecDvFiles} "Programs open .dv, .dif and .m2v files with it, unless another source is registered for them."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecAviDv} "Before the system's own splitter. Other AVI files, and all where another source is registered, are not affected."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecMov} "Before the system's own splitter. Other MOV files, and all where another source is registered, are not affected."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecPairs} "Two mono tracks that follow each other play as left and right: a setting of the user who installs."
  !insertmacro MUI_DESCRIPTION_TEXT ${GroupEngines} "Open engines, built on libavcodec, for the formats that are public standards. An engine on the search path takes precedence."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecDv} "$DvText"
  !insertmacro MUI_DESCRIPTION_TEXT ${SecMpeg} "$MpegText"
  !insertmacro MUI_DESCRIPTION_TEXT ${SecShell} "nyxshell.dll: pictures, durations and formats of MXF, GXF, DV and DIF files, unless another program shows them. Pictures need the engines."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecHost} "A console program that plays, describes and encodes clips; the readme, the change log and headers for developers. Adds start menu entries."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecPath} "Adds the folder to the system's PATH, so that prompts and scripts find nyxhost by its name."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; Unchecks a box where another program's source is registered for the type, by its extension or its media
; subtype, for programs of either word size: such a source comes before all splitters.
!macro LeaveToOthers SECTION EXTENSION SUBTYPE
  !insertmacro LeaveKeyToOthers ${SECTION} "Extensions\.${EXTENSION}"
  !insertmacro LeaveKeyToOthers ${SECTION} "{E436EB83-524F-11CE-9F53-0020AF0BA770}\${SUBTYPE}"
!macroend
!macro LeaveKeyToOthers SECTION KEY
  ReadRegStr $R2 HKCR "Media Type\${KEY}" "Source Filter"
  ${If} $R2 != ""
  ${AndIf} $R2 != "{E436EBB5-524F-11CE-9F53-0020AF0BA770}" ; the system's reader
    !insertmacro UnselectSection ${SECTION}
  ${EndIf}
!macroend
!macro LeaveTypesToOthers
  SetRegView ${BITS}
  !insertmacro LeaveToOthers ${SecAviDv} avi "{E436EB88-524F-11CE-9F53-0020AF0BA770}"
  !insertmacro LeaveToOthers ${SecMov} mov "{E436EB89-524F-11CE-9F53-0020AF0BA770}"
  SetRegView 32
!macroend

; Runs DO, a macro with its arguments, with each choice's section, its name in the registry entry and its
; name on the command line.
!macro ForEachChoice DO
  !insertmacro ${DO} ${SecSource} source source
  !insertmacro ${DO} ${SecMxf} mxf mxf
  !insertmacro ${DO} ${SecGxf} gxf gxf
  !insertmacro ${DO} ${SecAvi} avi avi
  !insertmacro ${DO} ${SecDvFiles} dv dv
  !insertmacro ${DO} ${SecAviDv} avi-dv avi-dv
  !insertmacro ${DO} ${SecMov} mov mov
  !insertmacro ${DO} ${SecPairs} pair-mono pair-mono
  !insertmacro ${DO} ${SecDv} rkdvh engines
  !insertmacro ${DO} ${SecMpeg} rkm2vi01 engines
  !insertmacro ${DO} ${SecShell} shell shell
  !insertmacro ${DO} ${SecHost} host tools
  !insertmacro ${DO} ${SecPath} path path
!macroend
!define ForEachChoice "!insertmacro ForEachChoice"

; Checks exactly the boxes whose names are in the list $R1: names of the registry entry, or of the option.
!macro CheckByName SECTION NAME OPTION
  !insertmacro Check ${SECTION} ${NAME}
!macroend
!macro CheckByOption SECTION NAME OPTION
  !insertmacro Check ${SECTION} ${OPTION}
!macroend
!macro Check SECTION WORD
  ClearErrors
  ${WordFind} ",$R1," ",${WORD}," "E+1{" $R2
  ${If} ${Errors}
    !insertmacro UnselectSection ${SECTION}
  ${Else}
    !insertmacro SelectSection ${SECTION}
  ${EndIf}
!macroend

; Appends a name and a comma to $R1 when its box is checked.
!macro AddChoice SECTION NAME OPTION
  ${If} ${SectionIsSelected} ${SECTION}
    StrCpy $R1 "$R1${NAME},"
  ${EndIf}
!macroend

; The other boxes of its group need the source filter; the search path needs nyxhost.
!macro CheckRequired
  ${For} $R2 ${SecMxf} ${SecPairs}
    ${If} ${SectionIsSelected} $R2
      !insertmacro SelectSection ${SecSource}
    ${EndIf}
  ${Next}
  ${If} ${SectionIsSelected} ${SecPath}
    !insertmacro SelectSection ${SecHost}
  ${EndIf}
!macroend

; The user clicked the box $0.
Function .onSelChange
  ${If} $0 = ${SecSource}
  ${AndIfNot} ${SectionIsSelected} ${SecSource}
    ${For} $R2 ${SecMxf} ${SecPairs}
      !insertmacro UnselectSection $R2
    ${Next}
  ${ElseIf} $0 = ${SecHost}
  ${AndIfNot} ${SectionIsSelected} ${SecHost}
    !insertmacro UnselectSection ${SecPath}
  ${EndIf}
  !insertmacro CheckRequired
FunctionEnd
