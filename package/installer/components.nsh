; What can be chosen: the sections, their names, and the choices that go together.

Section "Decoders and encoder" SecCodecs
  SectionIn RO
  ${ForEachSize} "Stage nyxcodecs.dll"
SectionEnd

SectionGroup /e "Footage source" GroupSource
  Section "Source filter" SecSource
    ${ForEachSize} "Stage nyxsource.dll"
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
    ${ForEachSize} "StageEngine rkdvh.dll"
  SectionEnd
  Section "MPEG-2 intra" SecMpeg
    ${ForEachSize} "StageEngine rkm2vi01.dll"
  SectionEnd
SectionGroupEnd

Section "nyxhost and documents" SecHost
  ${ForEachSize} "Stage nyxhost.exe"
  SetOutPath "${NEW}"
  File "${STAGE}/README.txt" "${STAGE}/CHANGELOG.txt"
SectionEnd
Section /o "nyxhost on the search path of all programs" SecPath
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
  !insertmacro MUI_DESCRIPTION_TEXT ${SecHost} "A console program that plays, describes and encodes clips, with the readme and the list of changes; both in the start menu."
  !insertmacro MUI_DESCRIPTION_TEXT ${SecPath} "Any prompt and script finds nyxhost by its name. The folder is added to the variable PATH of the system."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; Does a macro with its arguments, DO, and of each choice the section, its name in the entry and that for
; the command line.
!macro ForEachChoice DO
  !insertmacro ${DO} ${SecSource} source source
  !insertmacro ${DO} ${SecMxf} mxf mxf
  !insertmacro ${DO} ${SecGxf} gxf gxf
  !insertmacro ${DO} ${SecAvi} avi avi
  !insertmacro ${DO} ${SecDvFiles} dv dv
  !insertmacro ${DO} ${SecDv} rkdvh engines
  !insertmacro ${DO} ${SecMpeg} rkm2vi01 engines
  !insertmacro ${DO} ${SecHost} host tools
  !insertmacro ${DO} ${SecPath} path path
!macroend
!define ForEachChoice "!insertmacro ForEachChoice"

; Checks the boxes whose names a list in $R1 holds, and no others: names of the entry, or of the option.
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

; A name and its comma join $R1 when its box is checked.
!macro AddChoice SECTION NAME OPTION
  ${If} ${SectionIsSelected} ${SECTION}
    StrCpy $R1 "$R1${NAME},"
  ${EndIf}
!macroend

; Kinds of files need the source filter, and a search path something to find.
!macro CheckWhatIsNeeded
  ${If} ${SectionIsSelected} ${SecMxf}
  ${OrIf} ${SectionIsSelected} ${SecGxf}
  ${OrIf} ${SectionIsSelected} ${SecAvi}
  ${OrIf} ${SectionIsSelected} ${SecDvFiles}
    !insertmacro SelectSection ${SecSource}
  ${EndIf}
  ${If} ${SectionIsSelected} ${SecPath}
    !insertmacro SelectSection ${SecHost}
  ${EndIf}
!macroend

; A box, $0, was clicked.
Function .onSelChange
  ${If} $0 = ${SecSource}
  ${AndIfNot} ${SectionIsSelected} ${SecSource}
    !insertmacro UnselectSection ${SecMxf}
    !insertmacro UnselectSection ${SecGxf}
    !insertmacro UnselectSection ${SecAvi}
    !insertmacro UnselectSection ${SecDvFiles}
  ${ElseIf} $0 = ${SecHost}
  ${AndIfNot} ${SectionIsSelected} ${SecHost}
    !insertmacro UnselectSection ${SecPath}
  ${EndIf}
  !insertmacro CheckWhatIsNeeded
FunctionEnd
