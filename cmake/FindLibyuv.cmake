# Finds libyuv, which the benchmarks compare with: target Libyuv::Libyuv.

find_path(Libyuv_INCLUDE_DIR NAMES libyuv.h)
find_library(Libyuv_LIBRARY NAMES yuv)
mark_as_advanced(Libyuv_INCLUDE_DIR Libyuv_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Libyuv REQUIRED_VARS Libyuv_LIBRARY Libyuv_INCLUDE_DIR)

if(Libyuv_FOUND AND NOT TARGET Libyuv::Libyuv)
    add_library(Libyuv::Libyuv UNKNOWN IMPORTED)
    set_target_properties(Libyuv::Libyuv PROPERTIES IMPORTED_LOCATION "${Libyuv_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES
                                                                             "${Libyuv_INCLUDE_DIR}")
endif()
