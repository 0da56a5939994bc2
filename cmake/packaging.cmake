# What a host's build finds the installed library with, and the Debian packages:
# `cpack` in a build folder configured with -DCMAKE_INSTALL_PREFIX=/usr.
include(CMakePackageConfigHelpers)
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/WearableInteraction)
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/WearableInteractionConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/WearableInteractionConfigVersion.cmake
        DESTINATION ${config_dir} COMPONENT development)

# Relative, so that a staged or moved tree works as well.
file(RELATIVE_PATH WGR_PREFIX_FROM_PKGCONFIG
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" WGR_PREFIX_FROM_PKGCONFIG "${WGR_PREFIX_FROM_PKGCONFIG}")
foreach(library WearableInteraction WearablePreflight)
  configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME wearableinteraction)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT
    "WearableInteraction maintainers <maintainers@wearableinteraction.invalid>")
# Each package has a synopsis of its own; CPack would put this one before all.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
# The library looks for its models in /usr/share, wherever it lies itself.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
if(WGR_DEBUG_SYMBOLS)
  set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
else()
  set(CPACK_STRIP_FILES ON)
endif()
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL library development models recorder documents metapackage)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The architecture is set by the toolchain file; without one CPack asks dpkg.

# wgr_package(COMPONENT PACKAGE SUMMARY DESCRIPTION): one Debian package. Its changelog
# and copyright, which every package carries, are made from ours. What lintian finds and is
# meant stands in cmake/lintian-overrides/PACKAGE, with the reason.
function(wgr_package component package summary description)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian-copyright RENAME copyright
          DESTINATION ${doc} COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc}
          COMPONENT ${component})
  set(overrides ${PROJECT_SOURCE_DIR}/cmake/lintian-overrides/${package})
  if(EXISTS ${overrides})
    install(FILES ${overrides} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${component})
  endif()
endfunction()

wgr_package(library libwearableinteraction "wrist gestures on a smartwatch - library"
  "Recognises wrist gestures, and the wrist that wears the watch, from a stream of
 accelerometer and gyroscope samples. Runs inside the process of its host.")
wgr_package(development libwearableinteraction-dev
  "wrist gestures on a smartwatch - development files"
  "The C header files, and what CMake and pkg-config find the library with.")
wgr_package(models wearableinteraction-models
  "wrist gestures on a smartwatch - gesture models"
  "The six models that the library reads, one for each wrist and mode. It does not
 start without them.")
wgr_package(recorder wearableinteraction-recorder
  "wrist gestures on a smartwatch - flight recorder"
  "Records what an unmodified host does with the library, so that wgr can do it
 again. Preloaded, or in the library's place.")
wgr_package(documents wearableinteraction-doc
  "wrist gestures on a smartwatch - guides"
  "For hosts, for models, for a watch that misses gestures, and for the formats of
 files.")
wgr_package(metapackage wearableinteraction-all
  "wrist gestures on a smartwatch - all packages"
  "Depends on the library, its models, the development files, the tools, the
 flight recorder and the guides.")
install(FILES README.md CHANGELOG.md CONTRIBUTING.md COMPONENT documents
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/wearableinteraction-doc)
install(DIRECTORY docs COMPONENT documents
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/wearableinteraction-doc
        PATTERN wgr-studio.html EXCLUDE)
# The studio's page, where scripts/studio has built it: its compiler is another.
set(WGR_STUDIO_PAGE ${PROJECT_SOURCE_DIR}/build/studio/studio.html CACHE FILEPATH
    "The studio's page, packaged with the guides where it is there")
install(FILES ${WGR_STUDIO_PAGE} RENAME wgr-studio.html COMPONENT documents OPTIONAL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/wearableinteraction-doc/docs)
if(WGR_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  wgr_package(tools wearableinteraction-tools
    "wrist gestures on a smartwatch - command line tool"
    "The program wgr, which replays recordings of motion through the library and
 makes recordings and models.")
endif()

set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS wearableinteraction-models)
# CPack takes the file's own name for that of the control file.
configure_file(cmake/debian-triggers triggers COPYONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libwearableinteraction (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_MODELS_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_MODELS_PACKAGE_ARCHITECTURE all)
# A model that was replaced on the machine stays when the package is upgraded.
file(GLOB models RELATIVE ${PROJECT_SOURCE_DIR}/models CONFIGURE_DEPENDS models/*/*.xml)
list(TRANSFORM models PREPEND /usr/share/GestureModel/)
list(JOIN models "\n" models)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/conffiles "${models}\n")
set(CPACK_DEBIAN_MODELS_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/conffiles)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_METAPACKAGE_PACKAGE_SECTION metapackages)
set(CPACK_DEBIAN_METAPACKAGE_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_METAPACKAGE_PACKAGE_DEPENDS "libwearableinteraction, libwearableinteraction-dev, \
wearableinteraction-models, wearableinteraction-recorder, wearableinteraction-doc")
if(WGR_BUILD_TOOLS)
  string(APPEND CPACK_DEBIAN_METAPACKAGE_PACKAGE_DEPENDS ", wearableinteraction-tools")
endif()
set(CPACK_DEBIAN_RECORDER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RECORDER_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_RECORDER_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RECORDER_PACKAGE_DEPENDS
    "libwearableinteraction (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "libwearableinteraction (= ${PROJECT_VERSION})")

# dpkg-shlibdeps needs the target's libraries installed; a cross build says what it needs
# itself: the release that its compiler comes from.
if(CMAKE_CROSSCOMPILING)
  set(runtime "libc6 (>= 2.36), libgcc-s1 (>= 12), libstdc++6 (>= 12)")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_RECORDER_PACKAGE_SHLIBDEPS OFF)
  string(APPEND CPACK_DEBIAN_RECORDER_PACKAGE_DEPENDS ", ${runtime}")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "${runtime}")
  string(APPEND CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ", ${runtime}, libfmt9 (>= 9.1)")
  install(FILES cmake/debian-tools-overrides RENAME wearableinteraction-tools
          DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT tools)
endif()

# A Debian changelog of one entry; gzip without a time, so that it is the same bytes.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/changelog
  "wearableinteraction (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
  "  * See CHANGELOG.md of the sources.\n\n"
  " -- ${CPACK_PACKAGE_CONTACT}  ${WGR_CHANGELOG_DATE}\n")
execute_process(COMMAND gzip -9nkf changelog
                WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
include(CPack)
