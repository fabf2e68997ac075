@echo off
rem Runs all checks from this folder and writes report.txt and report.json here: check.cmd [win32|win64]
rem [SUITE...] [--unprivileged]. Only what registers and installs needs administrator's rights, which Windows asks for;
rem with --unprivileged that is skipped.
setlocal
rem As in install.cmd: Explorer starts a script with a command line that ends with a blank.
set "line=%cmdcmdline:"='%"
set "line=%line:"=%"
set "wait="
if not "%line:check.cmd=%"=="%line%" if "%line:~-2%"=="' " set "wait=pause"
if not "%line:check.cmd=%"=="%line%" if "%line:~-3%"=="' '" set "wait=pause"
"%~dp0checks.exe" %*
set "code=%errorlevel%"
echo The report is %~dp0report.txt
%wait%
exit /b %code%
