@echo off
rem Registers the codecs and the footage source of this folder for the programs of all word sizes that
rem this system runs. Run it as administrator.
setlocal
set "here=%~dp0"
set "option=%1"
if "%option%"=="/u" goto go
"%here%processor_check.exe"
if errorlevel 1 (
    echo This processor does not have SSSE3, which the codecs need.
    exit /b 1
)
:go
set "regsvr=%SystemRoot%\SysWOW64\regsvr32.exe"
if not exist "%regsvr%" set "regsvr=%SystemRoot%\System32\regsvr32.exe"
set "regsvr64="
if "%PROCESSOR_ARCHITECTURE%"=="AMD64" set "regsvr64=%SystemRoot%\System32\regsvr32.exe"
if "%PROCESSOR_ARCHITEW6432%"=="AMD64" set "regsvr64=%SystemRoot%\Sysnative\regsvr32.exe"
set "code=0"
for %%f in (nyxcodecs.dll nyxsource.dll) do (
    call :register "%regsvr%" %%f
    if defined regsvr64 call :register "%regsvr64%" x64\%%f
)
if %code%==0 (echo Done.) else echo Is this prompt an administrator's?
exit /b %code%

:register
%1 /s %option% "%here%%2"
if not errorlevel 1 exit /b
echo regsvr32 failed for %2.
set "code=2"
exit /b
