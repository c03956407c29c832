# What `cmake --install` gives besides the tool: the libraries, the header, what CMake and pkg-config need to find them,
# and the documents. Every place is one of GNUInstallDirs.

include(CMakePackageConfigHelpers)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/lx)
install(TARGETS lx lx_static EXPORT lxTargets)
install(FILES include/lx.h TYPE INCLUDE)
install(EXPORT lxTargets FILE lxConfig.cmake NAMESPACE lx:: DESTINATION ${packageDir})
# One SONAME, one major number: a program asks for the oldest release that has what it calls.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/lxConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/lxConfigVersion.cmake DESTINATION ${packageDir})

# The prefix is known only when the library is installed: lx.pc is written then.
cmake_path(APPEND pcIncludeDir "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
cmake_path(APPEND pcLibDir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
set(pcPrivateLibs "$<$<NOT:$<BOOL:${WIN32}>>:-lm>")
set(code)
foreach(name IN ITEMS PROJECT_NAME PROJECT_DESCRIPTION PROJECT_VERSION pcIncludeDir pcLibDir pcPrivateLibs)
    string(APPEND code "set(${name} [==[${${name}}]==])\n")
endforeach()
string(APPEND code "configure_file([==[${PROJECT_SOURCE_DIR}/cmake/lx.pc.in]==] "
                   "[==[${PROJECT_BINARY_DIR}/lx.pc]==] @ONLY)")
install(CODE "${code}")
install(FILES ${PROJECT_BINARY_DIR}/lx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

file(GLOB pages RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS docs/*.md)
set(LX_DOCUMENTS README.md CHANGELOG.md SECURITY.md ${pages})
install(FILES README.md CHANGELOG.md SECURITY.md TYPE DOC)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
