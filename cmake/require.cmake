# Libraries of others, which Debian packages: all that are missing come in one error.
set(WGR_MISSING "")
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})

# wgr_require(PACKAGE DEBIAN_PACKAGES OPTION): OPTION=OFF does without it.
macro(wgr_require package debian option)
  if(${option})
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      list(APPEND WGR_MISSING "${package}: apt-get install ${debian}, or -D${option}=OFF")
    endif()
  endif()
endmacro()

wgr_require(CLI11 libcli11-dev WGR_BUILD_TOOLS)
wgr_require(nlohmann_json nlohmann-json3-dev WGR_BUILD_TOOLS)
wgr_require(ZLIB zlib1g-dev WGR_BUILD_TOOLS)
wgr_require(fmt libfmt-dev WGR_BUILD_TOOLS)
wgr_require(libmd libmd-dev WGR_BUILD_TOOLS)
wgr_require(utf8cpp libutfcpp-dev WGR_BUILD_TOOLS)
# Cross builds compile GoogleTest from its sources.
if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
  wgr_require(GTest "libgtest-dev libgmock-dev (googletest when cross compiling)" BUILD_TESTING)
endif()
wgr_require(benchmark libbenchmark-dev WGR_BUILD_BENCHMARKS)

if(WGR_MISSING)
  list(JOIN WGR_MISSING "\n  " missing)
  message(FATAL_ERROR "These are not installed:\n  ${missing}\n"
                      "-DWGR_BUILD_TOOLS=OFF leaves out the wgr tool, "
                      "-DBUILD_TESTING=OFF the tests; the library needs neither.")
endif()
