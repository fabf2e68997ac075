@echo off
rem Takes the registration of this folder out. Run it as administrator, then the folder can be deleted.
setlocal
set "regsvr=%SystemRoot%\SysWOW64\regsvr32.exe"
if not exist "%regsvr%" set "regsvr=%SystemRoot%\System32\regsvr32.exe"
for %%f in (nyxsource.dll nyxcodecs.dll) do (
    "%regsvr%" /u /s "%~dp0%%f"
    if errorlevel 1 (
        echo %%f could not be taken out. Is this prompt an administrator's?
        exit /b 2
    )
)
echo Taken out.
