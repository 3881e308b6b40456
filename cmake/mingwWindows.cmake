# Cross-compiles for 64-bit Windows with Debian's g++-mingw-w64-x86-64-posix and runs the result under wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_CROSSCOMPILING_EMULATOR sh ${CMAKE_CURRENT_LIST_DIR}/../tools/underWine.sh)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
