# Cross-building for 64-bit Windows with mingw-w64. QT_MINGW_PREFIX, a cache variable or in the environment, is the
# folder of a Qt built for it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The variant with POSIX threads: the other one has no std::thread, and its runtime would not match Qt's.
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT QT_MINGW_PREFIX)
    set(QT_MINGW_PREFIX "$ENV{QT_MINGW_PREFIX}" CACHE PATH "Folder of a Qt built for mingw-w64")
endif()
if(NOT EXISTS "${QT_MINGW_PREFIX}/lib/cmake/Qt5/Qt5Config.cmake")
    message(FATAL_ERROR "No Qt for Windows in QT_MINGW_PREFIX='${QT_MINGW_PREFIX}': './windows qt' makes one")
endif()
# CMake configures small projects of its own with this file, and hands them only what is named here.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QT_MINGW_PREFIX)
list(APPEND CMAKE_PREFIX_PATH "${QT_MINGW_PREFIX}")

# Programs run here, everything else is for Windows: this system's own Qt must not be found.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 "${QT_MINGW_PREFIX}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
