# Cross-builds for 64-bit Windows with Debian's MinGW-w64.
# FERRYLINK_WINDOWS_SDK (variable or environment) names a folder with Qt 6 and hidapi for Windows, made with the same compiler.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT FERRYLINK_WINDOWS_SDK)
  # Kept, so that a build that has to configure itself again needs no environment.
  set(FERRYLINK_WINDOWS_SDK "$ENV{FERRYLINK_WINDOWS_SDK}" CACHE PATH "Qt and hidapi for Windows" FORCE)
endif()
# CMake runs this file again for its own compiler checks, where cache variables are not known.
set(ENV{FERRYLINK_WINDOWS_SDK} "${FERRYLINK_WINDOWS_SDK}")

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 "${FERRYLINK_WINDOWS_SDK}")
set(CMAKE_PREFIX_PATH "${FERRYLINK_WINDOWS_SDK}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# moc and its kin run here, so they come from this machine's Qt, which must have the same version.
set(QT_HOST_PATH /usr CACHE PATH "Qt of the building machine")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake CACHE PATH "Its CMake packages")
