; The setup program for players. Made by ./windows dist, in the root of the checkout:
; makensis -NOCD -DVERSION=... -DTREE=<the player's tree, as installed> -DSETUP=<what to write> [-DSIGN=<command>]
;
; It installs for one user, into a folder that holds nothing else: an update deletes what it does not know. Exit codes:
; 0 installed, 1 given up by the user, 2 refused or failed. A silent run (/S) says why on its standard output.

Target amd64-unicode
ManifestSupportedOS all
ManifestDPIAware true
RequestExecutionLevel user
SetCompressor /SOLID lzma

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh

!define GAME "Tessaloom"
!define PROGRAM "Tessaloom Launcher"
!define LAUNCHER_FOLDER "Game\TessaloomLauncher\Release"
!define LAUNCHER "${LAUNCHER_FOLDER}\TessaloomLauncher.exe"
; The new files lie here, on the same disk as the old ones, until they take their places. Not beside "Game": a program in
; another folder of the root is none of the game's, and the launcher would refuse to update.
!define STAGE "$INSTDIR\Game\TessaloomLauncher\Setup.new"
; Names that every update spares. The second one is the mark of an installation of ours.
!define UNINSTALLER "unins000.exe"
!define MARK "unins000.dat"
!define MARK_TEXT "Installed by the setup program of ${PROGRAM}."
!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${GAME}"
!define START_MENU_SHORTCUT "$SMPROGRAMS\${PROGRAM}.lnk"
!define DESKTOP_SHORTCUT "$DESKTOP\${PROGRAM}.lnk"
; Bytes of UTF-8. Windows takes 259 for a whole path: a backslash and 118 are left for the game's own, and make-list warns
; above that. The longest path of the launcher's temporary copy needs 81 of them.
!define LONGEST_ROOT 140

Name "${PROGRAM}"
OutFile "${SETUP}"
BrandingText "${PROGRAM} ${VERSION}"
InstallDir "$LOCALAPPDATA\Programs\${GAME}"
InstallDirRegKey HKCU "${ENTRY}" "InstallLocation"
; A drive's root is refused below, with a reason. Without this the button would only be grey.
AllowRootDirInstall true
AllowSkipFiles off
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "${PROGRAM}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "Setup of ${PROGRAM}"
VIAddVersionKey LegalCopyright ""
!ifdef SIGN
    !uninstfinalize '${SIGN} "%1"' = 0
    !finalize '${SIGN} "%1"' = 0
!endif

!define MUI_ICON "resources/launcher.ico"
!define MUI_UNICON "${MUI_ICON}"
!define MUI_ABORTWARNING
!define MUI_DIRECTORYPAGE_TEXT_TOP "The game needs a folder of its own: new, empty, or that of an earlier \
    installation. Every update deletes what does not belong to the game.$\r$\n$\r$\nIts path may have at most \
    ${LONGEST_ROOT} bytes; letters outside ASCII count two to four."
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE LeaveFolderPage
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "Start ${PROGRAM}"
!define MUI_FINISHPAGE_RUN_FUNCTION StartAtTheEnd
!define MUI_FINISHPAGE_SHOWREADME
!define MUI_FINISHPAGE_SHOWREADME_TEXT "Put a shortcut on the desktop"
!define MUI_FINISHPAGE_SHOWREADME_NOTCHECKED
!define MUI_FINISHPAGE_SHOWREADME_FUNCTION MakeDesktopShortcut
!insertmacro MUI_PAGE_FINISH
!define MUI_UNCONFIRMPAGE_TEXT_TOP "The launcher and the game in the folder Game will be deleted."
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

Var Refusal     ; why the folder can't be taken; empty if it can
Var IsNew       ; 1 if nothing is installed in the folder
Var StartLater  ; 1 if the launcher is to be started at the end
Var Created     ; the highest folder that the installation had to make for a new root; empty if the root was there
Var Told        ; 1 if the reason of a failure has been said
Var Pass        ; "test" or "move": what WalkStage does with each file
Var Blocked     ; the file that WalkStage could not open or replace; empty if there was none

; --- Both programs ---

; Tells who called a silent run why it stops.
!macro Say TEXT
    StrCpy $Told 1
    ${If} ${Silent}
        System::Call 'kernel32::GetStdHandle(i -11) p .r0'
        FileWrite $0 "${TEXT}$\r$\n"
    ${EndIf}
!macroend

; Says why nothing is done, and ends the program.
!macro Refuse TEXT
    !insertmacro Say "${TEXT}"
    MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
    SetErrorLevel 2
    Quit
!macroend

; Waits until nothing runs that has the game's name in its own, as the launcher takes it for a running game. Ends the
; program if the user gives up.
!macro AskToClose UN
Function ${UN}AskToClose
    System::Call 'kernel32::GetCurrentProcessId() i .r5'
    ; PROCESSENTRY32W
    System::Alloc 568
    Pop $1
    ${Do}
        StrCpy $6 ""
        System::Call 'kernel32::CreateToolhelp32Snapshot(i 2, i 0) p .r0'
        System::Call '*$1(i 568)'
        System::Call 'kernel32::Process32FirstW(p r0, p r1) i .r2'
        ${DoWhile} $2 <> 0
            System::Call '*$1(i, i, i .r4, i, p, i, i, i, i, i, &w260 .r3)'
            System::Call 'shlwapi::StrStrIW(w r3, w "${GAME}") p .r2'
            ${If} $2 P<> 0
            ${AndIf} $4 <> $5
                StrCpy $6 $3
            ${EndIf}
            System::Call 'kernel32::Process32NextW(p r0, p r1) i .r2'
        ${Loop}
        System::Call 'kernel32::CloseHandle(p r0)'
        ${If} $6 == ""
            ${ExitDo}
        ${ElseIf} ${Silent}
            !insertmacro Refuse "$6 is running. Close it first."
        ${EndIf}
        ${If} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$6 is running. Close it, then press Retry." IDCANCEL`
            SetErrorLevel 1
            Quit
        ${EndIf}
    ${Loop}
    System::Free $1
FunctionEnd
!macroend
!insertmacro AskToClose ""
!insertmacro AskToClose "un."

; --- Which folder ---

; FinalPath: replaces the path on the stack by what the system calls it, without junctions, mapped drives and short names.
; What does not exist yet keeps its name.
Function FinalPath
    Exch $0
    Push $1
    Push $2
    StrCpy $1 $0
    StrCpy $2 ""
    ${Do}
        ; Without the backslash, a drive would stand for the current folder on it.
        StrCpy $4 $1
        StrLen $3 $1
        ${If} $3 = 2
            StrCpy $4 "$1\"
        ${EndIf}
        ; Only a name is asked for: no rights, shared with all, folders too.
        System::Call 'kernel32::CreateFileW(w r4, i 0, i 7, p 0, i 3, i 0x02000000, p 0) p .r3'
        ${If} $3 P<> -1
            System::Call 'kernel32::GetFinalPathNameByHandleW(p r3, w .r4, i ${NSIS_MAX_STRLEN}, i 0) i .r5'
            System::Call 'kernel32::CloseHandle(p r3)'
            ${If} $5 > 0
                StrCpy $0 $4 "" 4   ; without the prefix of four characters
                StrCpy $4 $0 1 -1
                ${If} $4 == "\"
                    StrCpy $0 $0 -1
                ${EndIf}
                StrCpy $0 "$0$2"
            ${EndIf}
            ${ExitDo}
        ${EndIf}
        ${GetFileName} $1 $3
        StrCpy $2 "\$3$2"
        ${GetParent} $1 $1
    ${LoopUntil} $1 == ""
    Pop $2
    Pop $1
    Exch $0
FunctionEnd

; $7 and $8 are the folder's plain and final path, with a closing backslash. Sets $Refusal if one of them is, or holds, the
; folder on the stack.
Function RefuseHolder
    Pop $0
    ${If} $0 == ""
        Return
    ${EndIf}
    Push $0
    Call FinalPath
    Pop $1
    StrLen $3 $7
    StrLen $4 $8
    StrCpy $5 "$0\" $3
    StrCpy $6 "$1\" $4
    ${If} $5 == $7
    ${OrIf} $6 == $8
        StrCpy $Refusal "$INSTDIR is, or holds, a folder with other things in it ($0)."
    ${EndIf}
FunctionEnd
!macro RefuseHolders FOLDER
    Push "${FOLDER}"
    Call RefuseHolder
!macroend

; Sets $INSTDIR to its full path, $Refusal and $IsNew.
Function CheckFolder
    StrCpy $Refusal ""
    StrCpy $IsNew 0
    StrCpy $0 $INSTDIR
    System::Call 'kernel32::GetFullPathNameW(w r0, i ${NSIS_MAX_STRLEN}, w .r0, p 0)'
    StrCpy $1 $0 1 -1
    ${If} $1 == "\"
        StrCpy $0 $0 -1
    ${EndIf}
    StrCpy $INSTDIR $0
    StrLen $2 $0
    StrCpy $3 "$0\" 3
    StrCpy $4 $0 2
    System::Call 'kernel32::GetDriveTypeW(w r3) i .r5'
    System::Call 'kernel32::WideCharToMultiByte(i 65001, i 0, w r0, i -1, p 0, i 0, p 0, p 0) i .r1'
    IntOp $1 $1 - 1
    ${If} $4 == "\\"
    ${OrIf} $5 = 4
        StrCpy $Refusal "$0 is on a network share."
    ${ElseIf} $5 < 2
        StrCpy $Refusal "There is no disk $4."
    ${ElseIf} $2 <= 3
        StrCpy $Refusal "$0 is a drive's root. Choose a folder on it."
    ${ElseIf} $1 > ${LONGEST_ROOT}
        StrCpy $Refusal "The folder's path has $1 bytes. It may have at most ${LONGEST_ROOT}; letters outside ASCII \
            count two to four."
    ${ElseIf} $1 <> $2
    ${AndIfNot} ${AtLeastBuild} 18362
        StrCpy $Refusal "Before Windows 10 1903, the folder's path may hold letters of ASCII only."
    ${EndIf}
    ${If} $Refusal != ""
        Return
    ${EndIf}
    ; The launcher takes a folder of this name for its own copy.
    System::Call 'shlwapi::StrStrIW(w r0, w "LAUNCHER_TEMP_EXE_FOLDER") p .r1'
    ${If} $1 P<> 0
        StrCpy $Refusal "$INSTDIR is in a temporary folder of the launcher."
        Return
    ${EndIf}

    Push $INSTDIR
    Call FinalPath
    Pop $8
    StrCpy $8 "$8\"
    StrCpy $7 "$INSTDIR\"
    StrCpy $1 $8 4
    ${If} $1 == "UNC\"
        StrCpy $Refusal "$INSTDIR is on a network share."
        Return
    ${EndIf}
    !insertmacro RefuseHolders "$WINDIR\Temp"
    !insertmacro RefuseHolders "$FONTS"
    !insertmacro RefuseHolders "$PROGRAMFILES32"
    !insertmacro RefuseHolders "$PROGRAMFILES64"
    !insertmacro RefuseHolders "$COMMONFILES32"
    !insertmacro RefuseHolders "$COMMONFILES64"
    !insertmacro RefuseHolders "$PROFILE"
    !insertmacro RefuseHolders "$DESKTOP"
    !insertmacro RefuseHolders "$DOCUMENTS"
    !insertmacro RefuseHolders "$MUSIC"
    !insertmacro RefuseHolders "$PICTURES"
    !insertmacro RefuseHolders "$VIDEOS"
    !insertmacro RefuseHolders "$PROFILE\Downloads"
    !insertmacro RefuseHolders "$PROFILE\Saved Games"
    !insertmacro RefuseHolders "$SMPROGRAMS"
    !insertmacro RefuseHolders "$APPDATA"
    !insertmacro RefuseHolders "$LOCALAPPDATA\cache"
    !insertmacro RefuseHolders "$LOCALAPPDATA\Programs"
    !insertmacro RefuseHolders "$TEMP"
    GetKnownFolderPath $0 {374DE290-123F-4565-9164-39C4925E467B} ; downloads that were moved
    !insertmacro RefuseHolders "$0"
    GetKnownFolderPath $0 {4C5C32FF-BB9D-43B0-B5B4-2D72E54EEAA4} ; saved games
    !insertmacro RefuseHolders "$0"
    ReadEnvStr $0 PUBLIC
    !insertmacro RefuseHolders "$0"
    ReadEnvStr $0 ProgramData
    !insertmacro RefuseHolders "$0"
    ReadEnvStr $0 OneDrive
    !insertmacro RefuseHolders "$0"
    ReadEnvStr $0 OneDriveConsumer
    !insertmacro RefuseHolders "$0"
    ReadEnvStr $0 OneDriveCommercial
    !insertmacro RefuseHolders "$0"
    ${If} $Refusal != ""
        Return
    ${EndIf}

    ${If} ${FileExists} "$INSTDIR\${LAUNCHER}"
        Return
    ${EndIf}
    FileOpen $0 "$INSTDIR\${MARK}" r
    ${If} $0 != ""
        FileRead $0 $1
        FileClose $0
        ${If} $1 == "${MARK_TEXT}"
            Return
        ${EndIf}
    ${EndIf}
    StrCpy $IsNew 1
    ${If} ${FileExists} "$INSTDIR"
    ${AndIfNot} ${FileExists} "$INSTDIR\*.*"
        StrCpy $Refusal "$INSTDIR is a file."
        Return
    ${EndIf}
    FindFirst $0 $1 "$INSTDIR\*.*"
    ${DoWhile} $1 != ""
        ${If} $1 != "."
        ${AndIf} $1 != ".."
            StrCpy $Refusal "$INSTDIR holds $1. The game needs a folder of its own, since every update deletes \
                what does not belong to it. Choose a new or empty folder, or that of an earlier installation."
            ${Break}
        ${EndIf}
        FindNext $0 $1
    ${Loop}
    FindClose $0
FunctionEnd

Function .onInit
    ${IfNot} ${AtLeastWin8}
        !insertmacro Refuse "${PROGRAM} needs Windows 8 or later."
    ${EndIf}
    ; NSIS takes the default for a folder that it can't make: a share that does not answer, a path below a file.
    System::Call 'kernel32::GetCommandLineW() p .r0'
    System::Call 'shlwapi::StrStrW(p r0, w " /D=") p .r0'
    ${If} $0 P<> 0
        System::Call 'kernel32::lstrcpynW(w .r1, p r0, i ${NSIS_MAX_STRLEN})'
        StrCpy $INSTDIR $1 "" 4
    ${EndIf}
    ${If} ${Silent}
        Call CheckFolder
        ${If} $Refusal != ""
            !insertmacro Refuse "$Refusal"
        ${EndIf}
    ${EndIf}
FunctionEnd

Function LeaveFolderPage
    Call CheckFolder
    ${If} $Refusal != ""
        MessageBox MB_OK|MB_ICONSTOP "$Refusal"
        Abort
    ${EndIf}
FunctionEnd

; --- The installation ---

; Looks at each new file below the folder on the stack, a path with a closing backslash relative to the stage. First pass:
; can the file be opened whose place it takes? Second pass: it takes the place. Sets $Blocked to the first file for which
; it fails, and stops there.
Function WalkStage
    Exch $0
    Push $1
    Push $2
    ${If} $Pass == "move"
        CreateDirectory "$INSTDIR\$0"
    ${EndIf}
    FindFirst $1 $2 "${STAGE}\$0*.*"
    ${DoWhile} $2 != ""
        ${If} $Blocked != ""
            ${ExitDo}
        ${ElseIf} $2 == "."
        ${OrIf} $2 == ".."
        ${ElseIf} ${FileExists} "${STAGE}\$0$2\*.*"
            Push "$0$2\"
            Call WalkStage
        ${ElseIf} $Pass == "move"
            ; Replaces in one step.
            System::Call 'kernel32::MoveFileExW(w "${STAGE}\$0$2", w "$INSTDIR\$0$2", i 1) i .s'
            Pop $3
            StrCmp $3 0 0 +2
                StrCpy $Blocked "$INSTDIR\$0$2"
        ${ElseIf} ${FileExists} "$INSTDIR\$0$2"
            SetFileAttributes "$INSTDIR\$0$2" NORMAL
            FileOpen $3 "$INSTDIR\$0$2" a
            ${If} $3 == ""
                StrCpy $Blocked "$INSTDIR\$0$2"
            ${Else}
                FileClose $3
            ${EndIf}
        ${EndIf}
        FindNext $1 $2
    ${Loop}
    FindClose $1
    Pop $2
    Pop $1
    Pop $0
FunctionEnd

; The pass on the stack over all new files. A file that can't be replaced: the user closes what holds it, or gives up.
; Half-way through the second pass it is worth a few tries more: a virus scanner lets go soon.
Function WalkAll
    Pop $Pass
    StrCpy $4 0
    StrCpy $5 ""
    ${If} $Pass == "move"
    ${AndIf} $IsNew <> 1
        StrCpy $5 " A part of the launcher is replaced already. If you give up, run setup again."
    ${EndIf}
    ${Do}
        StrCpy $Blocked ""
        Push ""
        Call WalkStage
        ${If} $Blocked == ""
            ${ExitDo}
        ${ElseIf} $Pass == "move"
        ${AndIf} $4 < 6
            IntOp $4 $4 + 1
            Sleep 500
        ${ElseIf} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$Blocked can't be replaced. Close the program \
            that uses it, then press Retry.$5" /SD IDCANCEL IDCANCEL`
            ${IfNot} ${Silent}
                SetErrorLevel 1
            ${EndIf}
            !insertmacro Say "$Blocked can't be replaced.$5"
            Abort "$Blocked can't be replaced.$5"
        ${EndIf}
    ${Loop}
FunctionEnd

!define UNWRITABLE "$INSTDIR can't be written to, or the disk is full."

Section
    ; Another setup counts too: two of them would delete each other's stage.
    Call AskToClose
    StrCpy $Created ""
    StrCpy $0 $INSTDIR
    ${DoUntil} ${FileExists} "$0\*.*"
        StrCpy $Created $0
        ${GetParent} $0 $0
    ${LoopUntil} $0 == ""
    RMDir /r "${STAGE}"
    StrCpy $Told 0
    ClearErrors
    ${If} $IsNew = 1
        ; First of all: a setup that is ended half-way can be run again.
        CreateDirectory "$INSTDIR"
        FileOpen $0 "$INSTDIR\${MARK}" w
        FileWrite $0 "${MARK_TEXT}"
        FileClose $0
    ${EndIf}
    SetOutPath "${STAGE}"
    ${If} ${Errors}
        !insertmacro Say "${UNWRITABLE}"
        Abort "${UNWRITABLE}"
    ${EndIf}
    ; A file that can't be written ends the section here.
    File /r "${TREE}/*"
    WriteUninstaller "${STAGE}\${UNINSTALLER}"
    FileOpen $0 "${STAGE}\${MARK}" w
    FileWrite $0 "${MARK_TEXT}"
    FileClose $0
    ${If} ${Errors}
        !insertmacro Say "${UNWRITABLE}"
        Abort "${UNWRITABLE}"
    ${EndIf}
    Push "test"
    Call WalkAll
    Push "move"
    Call WalkAll
    ; The folder is in use as long as it is the current one.
    SetOutPath "$INSTDIR\${LAUNCHER_FOLDER}"
    RMDir /r "${STAGE}"

    ; "Start in" is the current folder: by it the launcher knows what it is.
    CreateShortcut "${START_MENU_SHORTCUT}" "$INSTDIR\${LAUNCHER}"
    ${If} ${FileExists} "${DESKTOP_SHORTCUT}"
        Call MakeDesktopShortcut
    ${EndIf}
    WriteRegStr HKCU "${ENTRY}" "DisplayName" "${GAME}"
    WriteRegStr HKCU "${ENTRY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${ENTRY}" "Publisher" "${GAME}"
    WriteRegStr HKCU "${ENTRY}" "DisplayIcon" "$INSTDIR\${LAUNCHER},0"
    WriteRegStr HKCU "${ENTRY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${ENTRY}" "UninstallString" '"$INSTDIR\${UNINSTALLER}"'
    WriteRegStr HKCU "${ENTRY}" "QuietUninstallString" '"$INSTDIR\${UNINSTALLER}" /S'
    SectionGetSize 0 $0
    WriteRegDWORD HKCU "${ENTRY}" "EstimatedSize" $0
    WriteRegDWORD HKCU "${ENTRY}" "NoModify" 1
    WriteRegDWORD HKCU "${ENTRY}" "NoRepair" 1
SectionEnd

; A setup that fails or is given up leaves what was there before.
Function .onInstFailed
    ${If} $Told <> 1
        !insertmacro Say "${UNWRITABLE}"
    ${EndIf}
    SetOutPath "$TEMP"
    RMDir /r "${STAGE}"
    ${If} $IsNew = 1
        RMDir /r "$INSTDIR\Game"
        Delete "$INSTDIR\${UNINSTALLER}"
        Delete "$INSTDIR\${MARK}"
    ${EndIf}
    ${If} $Created != ""
        StrCpy $0 $INSTDIR
        ${Do}
            RMDir "$0"
            StrCpy $1 $0
            ${GetParent} $0 $0
        ${LoopUntil} $1 == $Created
    ${EndIf}
FunctionEnd

Function MakeDesktopShortcut
    SetOutPath "$INSTDIR\${LAUNCHER_FOLDER}"
    CreateShortcut "${DESKTOP_SHORTCUT}" "$INSTDIR\${LAUNCHER}"
FunctionEnd

Function StartAtTheEnd
    StrCpy $StartLater 1
FunctionEnd

; Not on the last page: as long as this program runs, the launcher takes it for a part of the game and changes nothing.
Function .onGUIEnd
    ${If} $StartLater = 1
        SetOutPath "$INSTDIR\${LAUNCHER_FOLDER}"
        Exec '"$INSTDIR\${LAUNCHER}"'
    ${EndIf}
FunctionEnd

; --- The uninstaller ---

Function un.onInit
    FileOpen $0 "$INSTDIR\${MARK}" r
    FileRead $0 $1
    FileClose $0
    ${If} $1 != "${MARK_TEXT}"
        !insertmacro Refuse "$INSTDIR is no installation of this program. Nothing was deleted."
    ${EndIf}
FunctionEnd

; Deletes the folder on the stack with all that is in it. Of a link or junction only the link is deleted. RMDir /r would
; enter it.
Function un.DeleteTree
    Exch $0
    Push $1
    Push $2
    System::Call 'kernel32::GetFileAttributesW(w r0) i .r1'
    IntOp $1 $1 & 0x400
    ${If} $1 = 0
        FindFirst $1 $2 "$0\*.*"
        ${DoWhile} $2 != ""
            ${If} $2 == "."
            ${OrIf} $2 == ".."
            ${Else}
                ; By the attribute: a junction that leads nowhere is a folder too, though an empty one to a search.
                System::Call 'kernel32::GetFileAttributesW(w "$0\$2") i .r3'
                IntOp $3 $3 & 0x10
                ${If} $3 <> 0
                    Push "$0\$2"
                    Call un.DeleteTree
                ${Else}
                    SetFileAttributes "$0\$2" NORMAL
                    Delete "$0\$2"
                ${EndIf}
            ${EndIf}
            FindNext $1 $2
        ${Loop}
        FindClose $1
    ${EndIf}
    RMDir "$0"
    Pop $2
    Pop $1
    Pop $0
FunctionEnd

Section Uninstall
    Call un.AskToClose
    Push "$INSTDIR\Game"
    Call un.DeleteTree
    ${If} ${FileExists} "$INSTDIR\Game\*.*"
        !insertmacro Say "Some files of $INSTDIR\Game are in use and could not be deleted."
        SetErrorLevel 2
        Abort "Some files of $INSTDIR\Game are in use and could not be deleted."
    ${EndIf}
    ; The entry and the shortcuts may be those of another installation since.
    ReadRegStr $0 HKCU "${ENTRY}" "InstallLocation"
    ${If} $0 == $INSTDIR
        Delete "${START_MENU_SHORTCUT}"
        Delete "${DESKTOP_SHORTCUT}"
        DeleteRegKey HKCU "${ENTRY}"
    ${EndIf}
    Delete "$INSTDIR\${MARK}"
    Delete "$INSTDIR\${UNINSTALLER}"
    RMDir "$INSTDIR"
SectionEnd
