# UTF8-CPP, nothing but headers: its own CMake package refuses a processor of another word
# size than the one that it was packaged on.
find_path(UTF8CPP_INCLUDE utf8cpp/utf8.h)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(utf8cpp DEFAULT_MSG UTF8CPP_INCLUDE)
mark_as_advanced(UTF8CPP_INCLUDE)

if(utf8cpp_FOUND AND NOT TARGET utf8cpp)
  add_library(utf8cpp INTERFACE IMPORTED)
  set_target_properties(utf8cpp PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${UTF8CPP_INCLUDE})
endif()
