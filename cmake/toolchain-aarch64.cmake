# 64-bit ARM.
set(WGR_TARGET_TRIPLET aarch64-linux-gnu)
set(WGR_TARGET_PROCESSOR aarch64)
set(WGR_TARGET_FLAGS "")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
set(WGR_TARGET_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-debian-cross.cmake)
