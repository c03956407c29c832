# Finds Leptonica, which the benchmarks compare with: target Leptonica::Leptonica.

find_path(Leptonica_INCLUDE_DIR NAMES leptonica/allheaders.h)
find_library(Leptonica_LIBRARY NAMES leptonica lept)
mark_as_advanced(Leptonica_INCLUDE_DIR Leptonica_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Leptonica REQUIRED_VARS Leptonica_LIBRARY Leptonica_INCLUDE_DIR)

if(Leptonica_FOUND AND NOT TARGET Leptonica::Leptonica)
    add_library(Leptonica::Leptonica UNKNOWN IMPORTED)
    set_target_properties(Leptonica::Leptonica PROPERTIES IMPORTED_LOCATION "${Leptonica_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES
                                                                             "${Leptonica_INCLUDE_DIR}")
endif()
