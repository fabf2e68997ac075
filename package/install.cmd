@echo off
rem Registers this folder's codecs, footage source and Explorer's handlers for programs of every word size that the system
rem runs. Run it as administrator.
setlocal
set "here=%~dp0"
set "option=%~1"
rem Explorer starts a script with a command line that ends with a blank, and closes the window at the
rem end: wait for a key then.
set "line=%cmdcmdline:"='%"
rem Without the variable cmdcmdline a quote remains.
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
    echo The codecs need a processor with SSSE3.
    set "code=1"
    exit /b
)
goto each

:out
rem The class of one decoder represents them all.
set "class=HKLM\Software\Classes\CLSID\{194BF9E2-3566-43C0-AA21-EEC7278EA7D8}"
reg query "%class%" /reg:32 >nul 2>nul
if not errorlevel 1 goto each
reg query "%class%" /reg:64 >nul 2>nul
if not errorlevel 1 goto each
echo Nothing is installed.
exit /b

:each
for %%f in (nyxcodecs.dll nyxsource.dll nyxshell.dll) do (
    call :register "%regsvr%" %%f
    if defined regsvr64 call :register "%regsvr64%" x64\%%f
)
if %code%==0 (echo Done.) else echo Run this script as administrator.
exit /b

:register
%1 /s %option% "%here%%2"
if not errorlevel 1 exit /b
echo regsvr32 failed for %2.
set "code=2"
exit /b
