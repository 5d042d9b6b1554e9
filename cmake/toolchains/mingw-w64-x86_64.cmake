# Cross-compiling the component for 64-bit Windows with Debian's MinGW-w64 (POSIX threads),
# against a Qt built for it (scripts/windows/build passes its folder as OQUIVRAN_MINGW_PREFIX).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# The prefix reaches try_compile projects through the environment as well as the cache.
if(OQUIVRAN_MINGW_PREFIX)
    set(ENV{OQUIVRAN_MINGW_PREFIX} "${OQUIVRAN_MINGW_PREFIX}")
else()
    set(OQUIVRAN_MINGW_PREFIX "$ENV{OQUIVRAN_MINGW_PREFIX}")
endif()
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${OQUIVRAN_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt's host tools (moc, rcc, uic) are those of Debian's qt6-base-dev of the same version.
set(QT_HOST_PATH /usr CACHE PATH "Qt for the build machine")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake CACHE PATH "Its CMake packages")
