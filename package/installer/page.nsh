; The page of components.

Var Welcome

; Moves control ID of the page $0, in dialog units.
!macro Place ID X Y WIDTH HEIGHT
  GetDlgItem $1 $0 ${ID}
  System::Call '*(i ${X}, i ${Y}, i ${WIDTH}, i ${HEIGHT}) p .r2'
  System::Call 'user32::MapDialogRect(p r0, p r2)'
  System::Call '*$2(i .r3, i .r4, i .r5, i .r6)'
  System::Free $2
  System::Call 'user32::MoveWindow(p r1, i r3, i r4, i r5, i r6, i 1)'
!macroend

; Enlarges the list to the page's width and nearly its height, and scrolls it to its top.
Function ShowComponents
  FindWindow $0 "#32770" "" $HWNDPARENT
  GetDlgItem $1 $0 1006
  ShowWindow $1 ${SW_HIDE}
  GetDlgItem $1 $0 1022
  ShowWindow $1 ${SW_HIDE}
  GetDlgItem $1 $0 1042 ; the description's frame
  ShowWindow $1 ${SW_HIDE}
  !insertmacro Place 1032 0 0 300 121
  SendMessage $1 ${WM_VSCROLL} 6 0 ; SB_TOP
  !insertmacro Place 1043 0 123 215 17 ; the description
  !insertmacro Place 1023 218 123 82 17 ; the space required
FunctionEnd
