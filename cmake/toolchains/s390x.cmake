# Debian's cross compiler for a big-endian machine; programs run under its emulator.

set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/parts/linux.cmake)
