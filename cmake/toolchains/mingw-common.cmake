# Shared part of the mingw-w64 toolchains: RK_MINGW_TRIPLE names the target.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${RK_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${RK_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${RK_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${RK_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The C and C++ runtimes and the thread library are linked in, so that wine needs
# no DLL besides rkpix.dll and the system's.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
# Programs run under wine with a prefix of their own inside the build tree.
find_program(RK_WINE wine REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_COMMAND} -E env WINEDEBUG=-all
    WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix ${RK_WINE})
set(CMAKE_DLLTOOL ${RK_MINGW_TRIPLE}-dlltool)
