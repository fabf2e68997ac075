@echo off
rem Registers the codecs and the footage source of this folder for the programs of all word sizes that
rem this system runs. Run it as administrator.
setlocal
set "here=%~dp0"
set "option=%~1"
rem Explorer, which closes the window at the end, starts a script by a line that ends with a blank.
set "line=%cmdcmdline:"='%"
rem A system without that variable leaves a quote.
set "line=%line:"=%"
set "wait="
if not "%line:install.cmd=%"=="%line%" if "%line:~-2%"=="' " set "wait=pause"
if not "%line:install.cmd=%"=="%line%" if "%line:~-3%"=="' '" set "wait=pause"
set "code=0"
call :all
%wait%
exit /b %code%

:all
set "regsvr=%SystemRoot%\SysWOW64\regsvr32.exe"
if not exist "%regsvr%" set "regsvr=%SystemRoot%\System32\regsvr32.exe"
set "regsvr64="
if "%PROCESSOR_ARCHITECTURE%"=="AMD64" set "regsvr64=%SystemRoot%\System32\regsvr32.exe"
if "%PROCESSOR_ARCHITEW6432%"=="AMD64" set "regsvr64=%SystemRoot%\Sysnative\regsvr32.exe"
if "%option%"=="/u" goto out
"%here%processor_check.exe"
if errorlevel 1 (
    echo This processor does not have SSSE3, which the codecs need.
    set "code=1"
    exit /b
)
goto each

:out
rem The class of one decoder stands for all of them.
set "class=HKLM\Software\Classes\CLSID\{194BF9E2-3566-43C0-AA21-EEC7278EA7D8}"
reg query "%class%" /reg:32 >nul 2>nul
if not errorlevel 1 goto each
reg query "%class%" /reg:64 >nul 2>nul
if not errorlevel 1 goto each
echo Nothing is installed.
exit /b

:each
for %%f in (nyxcodecs.dll nyxsource.dll) do (
    call :register "%regsvr%" %%f
    if defined regsvr64 call :register "%regsvr64%" x64\%%f
)
if %code%==0 (echo Done.) else echo Is this prompt an administrator's?
exit /b

:register
%1 /s %option% "%here%%2"
if not errorlevel 1 exit /b
echo regsvr32 failed for %2.
set "code=2"
exit /b
