# Cross build for 64-bit Windows with Debian's MinGW-w64 compilers (posix thread model: std::thread and
# std::mutex come from winpthreads). The libraries the program needs are cross-built into ZARK_WIN_DEPS
# by scripts/build-windows-deps.sh; zlib comes from Debian's libz-mingw-w64-dev.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ZARK_MINGW_TRIPLE x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${ZARK_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZARK_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ZARK_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${ZARK_MINGW_TRIPLE}-gcc-ar-posix)
set(CMAKE_RANLIB ${ZARK_MINGW_TRIPLE}-gcc-ranlib-posix)

if(NOT ZARK_WIN_DEPS)
  if(DEFINED ENV{ZARK_WIN_DEPS})
    set(ZARK_WIN_DEPS $ENV{ZARK_WIN_DEPS})
  else()
    set(ZARK_WIN_DEPS $ENV{HOME}/.cache/zark-p3d/mingw-deps)
  endif()
endif()
# try_compile projects see only the variables listed here.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZARK_WIN_DEPS)

set(CMAKE_FIND_ROOT_PATH ${ZARK_WIN_DEPS} /usr/${ZARK_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
