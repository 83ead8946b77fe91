# The 32-bit little-endian MIPS of many gateways (24Kc, 34Kc, 1004Kc). They run MIPS16 code, which takes two thirds of the
# space; flash counts here, so nothing is compiled for speed.
set(QO1905_TRIPLET mipsel-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel -cpu 34Kf)
# GCC 12 relies on callees to leave $3 alone that set up their global pointer with it: it miscompiles MIPS16 without
# -fno-ipa-ra.
set(QO1905_SIZE_FLAGS -mips16 -minterlink-mips16 -fno-ipa-ra CACHE STRING "Compiler flags of the module alone")
# The kernel's page size; by default the linker lays out for pages of 64 KiB. The script leaves out what is never run when
# everything is bound at load: 1.2 KB.
set(QO1905_LINK_FLAGS
    -Wl,-z,max-page-size=4096 -Wl,-T,${CMAKE_CURRENT_LIST_DIR}/mipsel.ld
    CACHE STRING "Linker flags of the module")
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
