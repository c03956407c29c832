# The library as it is installed, and as programs find it there.
#
#   cmake -DBUILD=... -DWORK=... -DVERSION=... ... -P install_test.cmake
#
# Installs from the build tree, once into a prefix and once by way of DESTDIR, and looks at what is there. Then a C and a
# C++ program are built in every way on offer (found by CMake or by pkg-config, with the shared and the static library)
# and run. Nothing of the library is compiled again.

set(ENV{LD_LIBRARY_PATH} "")

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result STREQUAL "0")
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}: ${result}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# A program that was linked as wanted, and does its work. A shared library that is not in the program's own list of
# places is found through the environment.
function(check_program program kind libraries)
    run(${READELF} -d ${program})
    string(FIND "${output}" "[liblx.so.${MAJOR}]" needed)
    if((needed EQUAL -1 AND kind STREQUAL "shared") OR (NOT needed EQUAL -1 AND kind STREQUAL "static"))
        message(FATAL_ERROR "${program} is not linked with the ${kind} library:\n${output}")
    endif()
    run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${libraries} ${program})
endfunction()

function(check_files root)
    file(GLOB_RECURSE files RELATIVE ${root} ${root}/*)
    string(TOLOWER ${CONFIG} config)
    set(expected
        ${INCLUDEDIR}/lx.h
        ${LIBDIR}/cmake/lx/lxConfig-${config}.cmake
        ${LIBDIR}/cmake/lx/lxConfig.cmake
        ${LIBDIR}/cmake/lx/lxConfigVersion.cmake
        ${LIBDIR}/liblx.a
        ${LIBDIR}/liblx.so
        ${LIBDIR}/liblx.so.${MAJOR}
        ${LIBDIR}/liblx.so.${VERSION}
        ${LIBDIR}/pkgconfig/lx.pc)
    string(REGEX REPLACE "([^,]+),?" "${DOCDIR}/\\1;" documents "${DOCUMENTS}")
    list(APPEND expected ${documents})
    if(TOOLS)
        list(APPEND expected ${BINDIR}/lxpage ${MANDIR}/man1/lxpage.1)
    endif()
    list(SORT files)
    list(SORT expected)
    if(NOT files STREQUAL expected)
        message(FATAL_ERROR "installed: ${files}\n expected: ${expected}")
    endif()
    if(TOOLS)
        run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${root}/${LIBDIR} ${root}/${BINDIR}/lxpage --version)
        if(NOT output STREQUAL "lxpage ${VERSION}\n")
            message(FATAL_ERROR "${output}")
        endif()
    endif()
endfunction()

function(check_cmake language file root directory)
    run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${directory} -G ${GENERATOR}
        -DLANGUAGE=${language} -DFILE=${file} -DVERSION=${VERSION} -DCMAKE_${language}_COMPILER=${${language}_COMPILER}
        -Dlx_ROOT=${root})
    run(${CMAKE_COMMAND} --build ${directory})
    foreach(kind IN ITEMS shared static)
        check_program(${directory}/${kind} ${kind} "")
    endforeach()
endfunction()

function(check_pkg_config language file root directory)
    set(ENV{PKG_CONFIG_PATH} ${root}/${LIBDIR}/pkgconfig)
    set(standard_C -std=c11)
    set(standard_CXX -std=c++11)
    set(query_static --static)
    set(link_static -static)
    foreach(kind IN ITEMS shared static)
        run(${PKG_CONFIG} --exact-version=${VERSION} lx)
        run(${PKG_CONFIG} ${query_${kind}} --cflags --libs lx)
        separate_arguments(flags UNIX_COMMAND "${output}")
        set(program ${directory}-${kind})
        run(${${language}_COMPILER} ${standard_${language}} ${link_${kind}} -o ${program} ${file} ${flags})
        check_program(${program} ${kind} ${root}/${LIBDIR})
    endforeach()
endfunction()

set(consumer_CXX ${CMAKE_CURRENT_LIST_DIR}/consumer/consumer.cpp)
# What stands before the prefix while it is installed.
set(stage_prefix "")
set(stage_destdir ${WORK}/stage)
file(REMOVE_RECURSE ${WORK})
foreach(way IN ITEMS prefix destdir)
    set(ENV{DESTDIR} ${stage_${way}})
    run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${WORK}/${way})
    set(ENV{DESTDIR})
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${stage_${way}})
    set(root ${stage_${way}}${WORK}/${way})
    check_files(${root})
    foreach(language IN ITEMS C CXX)
        check_cmake(${language} ${consumer_${language}} ${root} ${WORK}/${way}-${language}-cmake)
        check_pkg_config(${language} ${consumer_${language}} ${root} ${WORK}/${way}-${language}-pkg-config)
    endforeach()
endforeach()
