# libmd, which has no CMake package of its own: message digests. The static library where
# there is one, so that what is built needs no more libraries than before.
find_library(LIBMD_LIBRARY NAMES libmd.a md)
find_path(LIBMD_INCLUDE sha256.h)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(libmd DEFAULT_MSG LIBMD_LIBRARY LIBMD_INCLUDE)
mark_as_advanced(LIBMD_LIBRARY LIBMD_INCLUDE)

if(libmd_FOUND AND NOT TARGET libmd::libmd)
  add_library(libmd::libmd UNKNOWN IMPORTED)
  set_target_properties(libmd::libmd PROPERTIES
    IMPORTED_LOCATION ${LIBMD_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${LIBMD_INCLUDE})
endif()
