# What the toolchain files share: Debian's cross compilers, and qemu-user to run the
# result. Each of them sets the triplet, the processor, its flags and the emulator first.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${WGR_TARGET_PROCESSOR})

set(CMAKE_C_COMPILER ${WGR_TARGET_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${WGR_TARGET_TRIPLET}-g++)
set(CMAKE_C_FLAGS_INIT "${WGR_TARGET_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${WGR_TARGET_FLAGS}")
set(CMAKE_LIBRARY_ARCHITECTURE ${WGR_TARGET_TRIPLET})

# The target's C library is the cross compiler's own. Other libraries come from Debian's
# packages for the target, unpacked by scripts/test or installed beside the machine's.
# Headers, and packages of nothing but headers, are the same for both.
set(CMAKE_FIND_ROOT_PATH /usr/${WGR_TARGET_TRIPLET}
    ${CMAKE_CURRENT_LIST_DIR}/../build/packages-${WGR_TARGET_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

find_program(WGR_EMULATOR ${WGR_TARGET_EMULATOR})
if(WGR_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${WGR_EMULATOR} -L /usr/${WGR_TARGET_TRIPLET})
endif()
