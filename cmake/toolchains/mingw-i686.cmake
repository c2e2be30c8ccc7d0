# Cross build for 32-bit Windows with Debian's mingw-w64 (posix threads); tests run
# under wine.
set(RK_MINGW_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
