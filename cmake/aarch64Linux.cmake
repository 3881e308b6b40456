# Compiles for 64-bit ARM processors under Linux, on any machine with Debian's g++-aarch64-linux-gnu.
# What is built runs here under qemu-aarch64. On such a processor itself there is nothing to say.

if(NOT CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "aarch64")
    set(CMAKE_SYSTEM_NAME Linux)
    set(CMAKE_SYSTEM_PROCESSOR aarch64)
    set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
    set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
