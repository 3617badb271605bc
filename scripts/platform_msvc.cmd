@echo off
rem Builds everything with MSVC, by the preset msvc, and runs the tests. Packages come from the vcpkg that VCPKG_ROOT names,
rem or VCPKG_INSTALLATION_ROOT as on hosted machines; packaging/vcpkg/vcpkg.json says which. Not yet run.
setlocal
cd /d "%~dp0.." || exit /b 1

set "packages=%VCPKG_ROOT%"
if defined VCPKG_INSTALLATION_ROOT set "packages=%VCPKG_INSTALLATION_ROOT%"
if not exist "%packages%\scripts\buildsystems\vcpkg.cmake" (
    echo platform_msvc: no vcpkg is there; set VCPKG_ROOT to its folder 1>&2
    exit /b 1
)

rem The compiler's environment, if this is no prompt of Visual Studio. It may name a vcpkg of its own, which has no ports.
set "vswhere=%ProgramFiles(x86)%\Microsoft Visual Studio\Installer\vswhere.exe"
set "studio="
if not defined VSCMD_VER for /f "usebackq delims=" %%p in (`"%vswhere%" -latest -products * -requires Microsoft.VisualStudio.Component.VC.Tools.x86.x64 -property installationPath`) do set "studio=%%p"
if not defined VSCMD_VER if not defined studio (
    echo platform_msvc: no Visual Studio with a C++ compiler is there 1>&2
    exit /b 1
)
if not defined VSCMD_VER call "%studio%\VC\Auxiliary\Build\vcvars64.bat" || exit /b 1
set "VCPKG_ROOT=%packages%"

cmake --preset msvc || exit /b 1
cmake --build --preset msvc || exit /b 1
ctest --preset msvc || exit /b 1
echo platform: msvc: all passed
