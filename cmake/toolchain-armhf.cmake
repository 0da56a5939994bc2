# The watch's processor: 32-bit ARMv7-A, VFPv3 with 16 registers, floats passed in them.
set(WGR_TARGET_TRIPLET arm-linux-gnueabihf)
set(WGR_TARGET_PROCESSOR armv7l)
set(WGR_TARGET_FLAGS "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard -Wno-psabi")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
set(WGR_TARGET_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian-cross.cmake)
