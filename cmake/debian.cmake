# What the toolchain files share: Debian's cross compiler and libraries for QO1905_TRIPLET, run by qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${QO1905_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${QO1905_TRIPLET}-g++)
set(CMAKE_STRIP ${QO1905_TRIPLET}-strip)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${QO1905_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
