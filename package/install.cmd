@echo off
rem Registers the codecs and the footage source of this folder. Run it as administrator.
setlocal
set "regsvr=%SystemRoot%\SysWOW64\regsvr32.exe"
if not exist "%regsvr%" set "regsvr=%SystemRoot%\System32\regsvr32.exe"
"%~dp0processor_check.exe"
if errorlevel 1 (
    echo This processor does not have SSSE3, which the codecs need.
    exit /b 1
)
for %%f in (nyxcodecs.dll nyxsource.dll) do (
    "%regsvr%" /s "%~dp0%%f"
    if errorlevel 1 (
        echo %%f could not be registered. Is this prompt an administrator's?
        exit /b 2
    )
)
echo Installed.
