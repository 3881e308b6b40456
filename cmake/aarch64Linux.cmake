# Cross-compiles for 64-bit ARM processors under Linux with Debian's g++-aarch64-linux-gnu and runs the
# result by qemu-aarch64. On such a processor, whatever its system, it does nothing.

if(NOT CMAKE_HOST_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    set(CMAKE_SYSTEM_NAME Linux)
    set(CMAKE_SYSTEM_PROCESSOR aarch64)
    set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
    set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
