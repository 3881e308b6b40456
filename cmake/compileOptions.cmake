# Options of every target: warnings, instruction set, sanitizers, profile.

add_library(tarvonelOptions INTERFACE)
target_compile_options(tarvonelOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
    -ffp-contract=off) # the same floating-point results on every processor
if(TARVONEL_WERROR)
    target_compile_options(tarvonelOptions INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # False positives in std::string, mostly from precompiled headers.
    target_compile_options(tarvonelOptions INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow)
endif()
if(CMAKE_UNITY_BUILD)
    # A local name may hide a constant of another file.
    target_compile_options(tarvonelOptions INTERFACE -Wno-shadow)
endif()
target_compile_definitions(tarvonelOptions INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# Instruction sets that the processor must have beyond the compiler's default.
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

if(TARVONEL_PROFILE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    if(TARVONEL_PROFILE STREQUAL "generate")
        set(profileOptions -fprofile-generate)
    else()
        set(profileOptions -fprofile-use -fprofile-partial-training -Wno-missing-profile)
    endif()
    target_compile_options(tarvonelOptions INTERFACE ${profileOptions})
    target_link_options(tarvonelOptions INTERFACE ${profileOptions})
endif()

if(TARVONEL_SANITIZE)
    target_compile_options(tarvonelOptions INTERFACE
        -fsanitize=${TARVONEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tarvonelOptions INTERFACE -fsanitize=${TARVONEL_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # False positives: the inserted checks hide from gcc what is initialised.
        target_compile_options(tarvonelOptions INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()

if(MINGW)
    # A program that needs no further DLL, whose threads have as much stack as under Linux.
    target_link_options(tarvonelOptions INTERFACE -static -Wl,--stack,8388608)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # gcc stores long vectors on the stack by aligned moves, but Windows aligns it to 16 bytes only.
        set(unalignedMoves -Wa,-muse-unaligned-vector-move)
        target_compile_options(tarvonelOptions INTERFACE ${unalignedMoves})
        target_link_options(tarvonelOptions INTERFACE ${unalignedMoves})
    endif()
endif()
