# GTest::gmock and GTest::gtest_main: installed for the target, or else, as is usual when
# cross compiling, built from Debian's package of its sources.
find_package(GTest QUIET)
if(NOT GTest_FOUND)
  set(INSTALL_GTEST OFF CACHE BOOL "Install GoogleTest with the project")
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(library gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -w)  # its warnings are not ours
  endforeach()
endif()
