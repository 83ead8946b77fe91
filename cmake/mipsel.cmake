# The 32-bit little-endian MIPS of many gateways (24Kc, 34Kc, 1004Kc). They run MIPS16 code, which takes two thirds of the
# space; flash counts here, so nothing is compiled for speed.
set(QO1905_TRIPLET mipsel-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel -cpu 34Kf)
set(mips16_flags
    -mips16 -minterlink-mips16
    # GCC 12 relies on callees to leave $3 alone that set up their global pointer with it: it miscompiles without this.
    -fno-ipa-ra
    # Eight registers: what is kept across a loop goes to the stack and back, and an inlined function takes those of
    # its caller.
    -fno-move-loop-invariants -fno-tree-loop-im -fno-inline-small-functions
    # Protects nothing unless a function asks for it. But with a protector the buffers stand on top of a function's
    # stack, and all else is in reach of an instruction of two bytes.
    -fstack-protector-explicit)
set(QO1905_SIZE_FLAGS ${mips16_flags} CACHE STRING "Compiler flags of the module alone")
set(QO1905_SPEED_FLAGS -Os CACHE STRING "Compiler flags of the files that a cycle spends its time in")
# The kernel's page size; by default the linker lays out for pages of 64 KiB.
# The script leaves out what is never run when everything is bound at load.
set(QO1905_LINK_FLAGS
    -Wl,-z,max-page-size=4096 -Wl,-T,${CMAKE_CURRENT_LIST_DIR}/mipsel.ld
    CACHE STRING "Linker flags of the module")
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
