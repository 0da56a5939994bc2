# What the library is made of, and how; benchmarks and tests make it in other kinds, too.

# Free functions, which the library keeps to itself.
set(WGR_FREE_FUNCTIONS
  base/held_signals.cpp
  base/printing.cpp
  context/WgrLog.cpp
  engine/rest.cpp
  engine/sensitivity.cpp
  engine/orientation.cpp
  engine/rotation.cpp
  engine/reconstruction.cpp
  engine/recognition.cpp
  engine/hand_votes.cpp
  dtw/dtw.cpp
  dtw/rows.cpp
  dtw/wavefront.cpp
  dtw/batched_dtw.cpp
  dtw/similarity.cpp
  dtw/similarity_matrix.cpp
  dtw/best_match.cpp
  classifier/line_reader.cpp
  cluster/affinity_propagation.cpp)
# The C interface, and the classes behind it.
set(WGR_CLASSES
  context/WgrInterface.cpp
  context/WgrContext.cpp
  engine/agGes.cpp
  engine/intake.cpp
  engine/WHD.cpp
  classifier/HGR.cpp
  classifier/Gmodel.cpp
  classifier/Gdata.cpp
  cluster/apcluster.cpp)
list(TRANSFORM WGR_FREE_FUNCTIONS PREPEND ${PROJECT_SOURCE_DIR}/src/)
list(TRANSFORM WGR_CLASSES PREPEND ${PROJECT_SOURCE_DIR}/src/)
# What runs once a handle, a file or a gesture is to be small rather than fast.
set(WGR_SMALL_SOURCES
  base/held_signals.cpp base/printing.cpp context/WgrContext.cpp context/WgrInterface.cpp
  context/WgrLog.cpp engine/agGes.cpp engine/recognition.cpp engine/sensitivity.cpp
  engine/WHD.cpp classifier/HGR.cpp classifier/Gmodel.cpp classifier/Gdata.cpp
  classifier/line_reader.cpp cluster/apcluster.cpp dtw/similarity_matrix.cpp)
list(TRANSFORM WGR_SMALL_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/src/)

set(WGR_LIBRARY_LINK_OPTIONS -Wl,-Bsymbolic-functions -Wl,-z,noseparate-code
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/src/exports.map)
if(NOT WGR_INSTRUMENTS_IN_PROGRAM)
  list(APPEND WGR_LIBRARY_LINK_OPTIONS -Wl,--no-undefined)
endif()

# wgr_library(NAME [DEFINITION...]): the shared library, and the very objects of its free
# functions, for those who take the classes from the library: NAME_internals for tools; for
# tests NAME_inside, in whose place another can be loaded as in that of the library.
function(wgr_library name)
  # Of the folder that calls, for CMake keeps them by folder.
  set_source_files_properties(${WGR_SMALL_SOURCES}
    PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-Os>")
  # A loop here has too few turns to gain by being laid out several times.
  set_source_files_properties(${PROJECT_SOURCE_DIR}/src/engine/hand_votes.cpp
    PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>")
  add_library(${name}_objects OBJECT ${WGR_FREE_FUNCTIONS})
  add_library(${name}_classes OBJECT ${WGR_CLASSES})
  # Both by their objects: generators do not agree in which order they link these and a
  # library's own sources, and the order shows in the bytes.
  add_library(${name} SHARED
    $<TARGET_OBJECTS:${name}_classes> $<TARGET_OBJECTS:${name}_objects>)
  add_library(${name}_internals STATIC $<TARGET_OBJECTS:${name}_objects>)
  add_library(${name}_inside SHARED $<TARGET_OBJECTS:${name}_objects>)
  foreach(target ${name}_objects ${name}_classes ${name})
    target_compile_definitions(${target} PRIVATE ${ARGN})
    # Nothing in here is meant to be replaced from outside.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    # Hosts see include/; tools and tests also see the classes, by path from src/.
    target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  endforeach()
  set_target_properties(${name}_objects ${name}_classes PROPERTIES
    POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(${name} PRIVATE m)
  target_link_options(${name} PRIVATE ${WGR_LIBRARY_LINK_OPTIONS})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/src/exports.map)
  foreach(inside ${name}_internals ${name}_inside)
    target_link_libraries(${inside} PUBLIC ${name})
  endforeach()
endfunction()
