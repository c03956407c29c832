# Debian's cross compiler for 64-bit Windows, with threads of its own; programs run under wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(target x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${target}-g++-posix)
set(CMAKE_RC_COMPILER ${target}-windres)
find_program(LX_WINE NAMES wine64 PATHS /usr/lib/wine REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_COMMAND} -E env WINEPREFIX=${CMAKE_BINARY_DIR}/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
    ${LX_WINE})
# Programs, too, need nothing but Windows.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
include(${CMAKE_CURRENT_LIST_DIR}/parts/find.cmake)
