# Debian's cross compiler for 64-bit Arm; programs run under its emulator.

set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/parts/linux.cmake)
