# How every target is compiled: warnings, instruction set, sanitizers, link-time optimisation.

add_library(tarvonelOptions INTERFACE)
target_compile_options(tarvonelOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror
    -ffp-contract=off) # the same floating point results on every processor
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # These see faults in std::string that are none, most of all out of precompiled headers.
    target_compile_options(tarvonelOptions INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow)
endif()
target_compile_definitions(tarvonelOptions INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# Beyond what the compiler takes for granted: the instruction sets that the processor must have.
set(archOptions_generic -DTARVONEL_PLAIN_VECTORS)
set(archOptions_sse2 "")
set(archOptions_ssse3 -mssse3 -mpopcnt)
set(archOptions_avx2 -mavx2 -mpopcnt -mbmi)
set(archOptions_avx512 ${archOptions_avx2} -mbmi2 -mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vnni)
set(archOptions_neon "")
if(NOT DEFINED archOptions_${TARVONEL_ARCH})
    message(FATAL_ERROR "TARVONEL_ARCH is none of ${TARVONEL_ARCHITECTURES}: ${TARVONEL_ARCH}")
endif()
target_compile_options(tarvonelOptions INTERFACE ${archOptions_${TARVONEL_ARCH}})

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
    # The engine then needs no further library, and its threads have as much stack as Linux gives them.
    target_link_options(tarvonelOptions INTERFACE -static -Wl,--stack,8388608)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The stack is aligned to 16 bytes, which gcc forgets where it puts longer vectors there.
        set(unalignedMoves -Wa,-muse-unaligned-vector-move)
        target_compile_options(tarvonelOptions INTERFACE ${unalignedMoves})
        target_link_options(tarvonelOptions INTERFACE ${unalignedMoves})
    endif()
endif()
