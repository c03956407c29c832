# Another processor under Linux: CMAKE_SYSTEM_PROCESSOR says which.

set(CMAKE_SYSTEM_NAME Linux)
set(target ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_C_COMPILER ${target}-gcc)
set(CMAKE_CXX_COMPILER ${target}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} -L /usr/${target})
include(${CMAKE_CURRENT_LIST_DIR}/find.cmake)
