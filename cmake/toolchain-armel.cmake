# The same processor under a system whose calls pass floats in integer registers; they
# are still computed in hardware, so the results are those of armhf.
set(WGR_TARGET_TRIPLET arm-linux-gnueabi)
set(WGR_TARGET_PROCESSOR armv7l)
set(WGR_TARGET_FLAGS "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=softfp -Wno-psabi")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armel)
set(WGR_TARGET_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian-cross.cmake)
