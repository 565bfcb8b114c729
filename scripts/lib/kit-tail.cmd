if "%TRUSTED%"=="added" certutil -user -delstore Root "Test Authority" >> "%KIT%log\root.txt" 2>&1
if not "%LEFT_OUT%"=="0" echo %LEFT_OUT% left out: they need --with-test-root
echo %PASSED% passed, %FAILED% failed
if not "%FAILED%"=="0" exit /b 1
if "%PASSED%"=="0" exit /b 1
exit /b 0

:run_with_root
if not "%TRUSTED%"=="" goto run
set /a LEFT_OUT+=1
echo left out  %1
exit /b 0

:run
if not "%ONLY%"=="" if not "%ONLY%"=="%1" exit /b 0
pushd "%KIT%%3"
"%KIT%%2" > "%KIT%log\%1.txt" 2>&1
set CODE=%ERRORLEVEL%
popd
if "%CODE%"=="0" goto passed
set /a FAILED+=1
echo FAILED    %1: exit code %CODE%, see log\%1.txt
exit /b 0
:passed
set /a PASSED+=1
echo passed    %1
exit /b 0

:help
echo Usage: run.cmd [--with-test-root] [TEST]
echo.
echo Runs all tests, or one. Each one's output goes into the folder log.
echo.
echo --with-test-root   adds the root of the signed test files to the current user's trusted roots,
echo                    which Windows asks about, and removes it at the end. Without it the tests
echo                    of these files are left out.
exit /b 2
