@echo off
rem Builds everything with Visual Studio, and runs the tests there; for Windows, from any prompt.
rem   scripts\test-windows.cmd [PRESET]
rem PRESET is msvc-debug, or clang-cl-debug. VCPKG_ROOT names a clone of vcpkg; see docs/windows.md. Never run so far: it
rem waits for a machine.
setlocal
set preset=%1
if "%preset%"=="" set preset=msvc-debug
if "%VCPKG_ROOT%"=="" set VCPKG_ROOT=%VCPKG_INSTALLATION_ROOT%
set clone=%VCPKG_ROOT%
for /f "usebackq delims=" %%i in (`"%ProgramFiles(x86)%\Microsoft Visual Studio\Installer\vswhere.exe" -latest -property installationPath`) do set studio=%%i
call "%studio%\VC\Auxiliary\Build\vcvars64.bat" || exit /b 1
rem The prompt may have put Visual Studio's own vcpkg there, which wants a baseline in the manifest.
if not "%clone%"=="" set VCPKG_ROOT=%clone%
cd /d "%~dp0.." || exit /b 1
cmake --preset %preset% || exit /b 1
cmake --build --preset %preset% || exit /b 1
ctest --preset %preset% || exit /b 1
