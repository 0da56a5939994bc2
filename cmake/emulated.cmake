# wgr_runnable(TARGET PROGRAM LAUNCHER): sets PROGRAM to what runs the executable TARGET
# on this machine, and LAUNCHER to what runs it with private paths: a script that goes
# through the emulator when TARGET is for another processor.
function(wgr_runnable target program_variable launcher_variable)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    string(REPLACE ";" " " WGR_EMULATOR_COMMAND "${CMAKE_CROSSCOMPILING_EMULATOR}")
    set(program ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target})
    set(run ${CMAKE_BINARY_DIR}/emulated/${target})
    set(launch ${CMAKE_BINARY_DIR}/emulated/private-paths)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/emulated-program.in ${run} @ONLY)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/emulated-launcher.in ${launch} @ONLY)
  else()
    set(run $<TARGET_FILE:${target}>)
    set(launch ${PROJECT_SOURCE_DIR}/scripts/private-paths)
  endif()
  set(${program_variable} ${run} PARENT_SCOPE)
  set(${launcher_variable} ${launch} PARENT_SCOPE)
endfunction()
