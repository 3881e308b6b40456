# How every target is compiled: warnings, instruction set, sanitizers, link-time optimisation.

add_library(tarvonelOptions INTERFACE)
target_compile_options(tarvonelOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror
    -ffp-contract=off) # the same floating point results on every processor
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(tarvonelOptions INTERFACE -Wno-restrict) # sees overlaps in std::string that are none
endif()
target_compile_definitions(tarvonelOptions INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(TARVONEL_ARCH STREQUAL "avx2")
    target_compile_options(tarvonelOptions INTERFACE -mavx2 -mpopcnt -mbmi -mlzcnt)
elseif(TARVONEL_ARCH STREQUAL "generic")
    target_compile_definitions(tarvonelOptions INTERFACE TARVONEL_PLAIN_VECTORS)
elseif(NOT TARVONEL_ARCH STREQUAL "sse2")
    message(FATAL_ERROR "TARVONEL_ARCH is sse2, avx2 or generic, not ${TARVONEL_ARCH}")
endif()

if(TARVONEL_SANITIZE)
    target_compile_options(tarvonelOptions INTERFACE
        -fsanitize=${TARVONEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tarvonelOptions INTERFACE -fsanitize=${TARVONEL_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Between the checks that a sanitizer inserts gcc loses sight of what is initialised.
        target_compile_options(tarvonelOptions INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()

if(MINGW)
    target_link_options(tarvonelOptions INTERFACE -static) # the engine then needs no further library
endif()
