; Corvelle-setup.exe: installs the add-in for the current user, without administrator rights.
; It copies Corvelle.dll and the files that ship beside it into the user's programs folder, writes
; the Corvelle.ini that asks for a per-user registration, registers the DLL (its own
; DllRegisterServer), and adds an uninstaller that unregisters it and removes what was installed.
; The table files that Corvelle writes beside the DLL are the user's data: they stay.
;
;   makensis -DDLL=<Corvelle.dll> -DRESOURCES=<folder> -DVERSION=1.0.0 -DOUTFILE=<setup.exe> Corvelle.nsi
Unicode true
Target amd64-unicode
RequestExecutionLevel user
SetCompressor /SOLID lzma

Name "Corvelle"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Corvelle"
InstallDirRegKey HKCU "Software\Corvelle" "InstallDir"
ShowInstDetails show
ShowUninstDetails show

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Corvelle"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Section "Corvelle"
  SetOutPath "$INSTDIR"
  File "${DLL}"
  File "${RESOURCES}/*.*"
  WriteINIStr "$INSTDIR\Corvelle.ini" "CONFIG" "PRIVILEGES" "USER"
  ClearErrors
  RegDLL "$INSTDIR\Corvelle.dll"
  IfErrors 0 registered
    MessageBox MB_OK|MB_ICONSTOP "Corvelle.dll could not be registered." /SD IDOK
    SetErrorLevel 2
    Abort
  registered:
  WriteRegStr HKCU "Software\Corvelle" "InstallDir" "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Corvelle (Outlook add-in)"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Corvelle"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
  UnRegDLL "$INSTDIR\Corvelle.dll"
  Delete "$INSTDIR\Corvelle.dll"
  Delete "$INSTDIR\Corvelle.ini"
  !include "${RESOURCE_LIST}"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  DeleteRegKey HKCU "Software\Corvelle"
SectionEnd
