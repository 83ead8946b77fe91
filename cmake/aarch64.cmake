# 64-bit ARM gateways (Cortex-A53 and the like).
set(QO1905_TRIPLET aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
# The kernel's page size; by default the linker pads for pages of 64 KiB.
set(QO1905_LINK_FLAGS -Wl,-z,max-page-size=4096 CACHE STRING "Linker flags of the module")
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
