# Which names leave the library and the kernel objects.
#
#   cmake -DNM=... -DLIBRARY=... -DHEADER=... -DOBJECTS=a,b,... -P symbols_test.cmake
#
# The shared library exports what the header declares, and nothing else. A kernel object defines names of its own level
# and no weak ones, which the linker might merge into code for lesser processors; it needs nothing from outside but
# memory copies.

# One line a symbol.
function(names_of result)
    execute_process(COMMAND ${NM} -P ${ARGN} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "\n$" "" output "${output}")
    string(REPLACE "\n" ";" lines "${output}")
    set(${result} "${lines}" PARENT_SCOPE)
endfunction()

file(READ ${HEADER} header)
string(REGEX MATCHALL "LX_API[ \n]+[a-z0-9_]+[ \n]+lx[A-Za-z0-9]+\\(" declarations "${header}")
set(declared)
foreach(declaration IN LISTS declarations)
    string(REGEX REPLACE ".*[ \n](lx[A-Za-z0-9]+)\\($" "\\1" name "${declaration}")
    list(APPEND declared ${name})
endforeach()
set(exported)
names_of(symbols -D --defined-only ${LIBRARY})
foreach(symbol IN LISTS symbols)
    string(REGEX REPLACE " .*" "" name "${symbol}")
    list(APPEND exported ${name})
endforeach()
list(SORT declared)
list(SORT exported)
list(LENGTH declared count)
if(count EQUAL 0 OR NOT declared STREQUAL exported)
    message(SEND_ERROR "declared: ${declared}\nexported: ${exported}")
endif()
message(STATUS "${count} functions exported")

# Lines: "path/lx_kernels_LEVEL.dir/kernels/topic.cpp.o: name type ...".
string(REPLACE "," ";" objects "${OBJECTS}")
names_of(symbols -g -A ${objects})
set(seen 0)
foreach(line IN LISTS symbols)
    math(EXPR seen "${seen} + 1")
    string(REGEX MATCH "lx_kernels_([a-z0-9]+)[^ ]*: ([^ ]+) ([A-Za-z])" parts "${line}")
    set(level ${CMAKE_MATCH_1})
    set(name ${CMAKE_MATCH_2})
    set(type ${CMAKE_MATCH_3})
    string(LENGTH "${level}" length)
    set(ofLevel "^_ZNK?2lx${length}${level}")
    set(copies "^(memcpy|memmove|memset|_GLOBAL_OFFSET_TABLE_)$")
    if(NOT parts OR NOT ((type MATCHES "^[BDRTU]$" AND name MATCHES "${ofLevel}") OR
                         (type STREQUAL "U" AND name MATCHES "${copies}")))
        message(SEND_ERROR "${line}")
    endif()
endforeach()
if(seen EQUAL 0)
    message(SEND_ERROR "no kernel objects")
endif()
message(STATUS "${seen} symbols of kernel objects")
