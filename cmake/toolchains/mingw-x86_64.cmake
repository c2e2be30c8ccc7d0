# Cross build for 64-bit Windows with Debian's mingw-w64 (posix threads); tests run
# under wine.
set(RK_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
