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
endif()

if(MINGW)
    target_link_options(tarvonelOptions INTERFACE -static) # the engine then needs no further library
endif()

# The library's objects hold both forms of code: what links this target is optimised as a whole, the
# rest (tests, training programs) links in a moment.
add_library(tarvonelLinkTimeOptimisation INTERFACE)
if(TARVONEL_LTO AND NOT TARVONEL_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL "Release"
   AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tarvonelLinkTimeOptimisation INTERFACE -flto=auto -ffat-lto-objects)
    target_link_options(tarvonelLinkTimeOptimisation INTERFACE -flto=auto -O3)
    target_link_options(tarvonelOptions INTERFACE
        $<$<NOT:$<IN_LIST:tarvonelLinkTimeOptimisation,$<TARGET_PROPERTY:LINK_LIBRARIES>>>:-fno-lto>)
endif()
