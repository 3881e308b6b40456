# Copies the network file of networks/ into the engine's folder after checking its SHA-256.

set(networkName 220321-307.nnue)
set(networkFile ${CMAKE_BINARY_DIR}/${networkName})
set(networkSource ${CMAKE_SOURCE_DIR}/networks/${networkName})

add_custom_command(OUTPUT ${networkFile}
    COMMAND ${CMAKE_COMMAND} -DfromFile=${networkSource} -DtoFile=${networkFile}
            -P ${CMAKE_SOURCE_DIR}/cmake/copyNetwork.cmake
    DEPENDS ${networkSource} ${networkSource}.sha256 cmake/copyNetwork.cmake
    COMMENT "Checking and copying the network file" VERBATIM)
add_custom_target(defaultNetwork ALL DEPENDS ${networkFile})
add_dependencies(tarvonel defaultNetwork)
