# No gateway, but the one big-endian machine that Debian still has libraries for.
set(QO1905_TRIPLET s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
