# Compiler settings shared by every target of the project: lx_compile(target) applies them, and lx_fuzz(target) those for
# what the fuzzers explore.
#
# Contraction into fused multiply-adds would change results, so it is off everywhere, the tests and tools included.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)

function(lx_compile target)
    target_compile_options(${target} PRIVATE -ffp-contract=off -Wall -Wextra -Wconversion -Wshadow)
    # GCC 12's vectoriser of straight-line code loses roundings from double to single precision whose result goes back to
    # double (seen at -O3 in the splitting of factors), so it is off.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
    if(LX_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(LX_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${LX_SANITIZE} -fno-sanitize-recover=all
                                                 -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=${LX_SANITIZE})
    endif()
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
                                               VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# Lets the fuzzers, if they are built, see which branches their inputs take.
function(lx_fuzz target)
    if(LX_BUILD_FUZZERS)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()
