@echo off
rem Runs the tests of Cifra; run.cmd --help tells more.
setlocal
set "KIT=%~dp0"
set PASSED=0
set FAILED=0
set LEFT_OUT=0
set WITH_ROOT=
set ONLY=
if "%~1"=="--help" goto help
if "%~1"=="--with-test-root" set WITH_ROOT=yes
if not "%~1"=="" if not "%~1"=="--with-test-root" set "ONLY=%~1"
if not exist "%KIT%log" mkdir "%KIT%log"
rem Wine trusts every root; Windows only those in its store.
set TRUSTED=
if exist "%SystemRoot%\system32\winecfg.exe" set TRUSTED=yes
if not "%WITH_ROOT%"=="yes" goto tests
if "%TRUSTED%"=="yes" goto tests
certutil -user -f -addstore Root "%KIT%fixtures\authority.cer" > "%KIT%log\root.txt" 2>&1
if errorlevel 1 (
  echo The test root could not be added; see log\root.txt
  exit /b 1
)
set TRUSTED=added

:tests
