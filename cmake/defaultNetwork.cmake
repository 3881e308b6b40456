# Puts the default network file beside the engine: the trained one of `networks/` after a look at
# its check sum, or, in a tree without it, a provisional one worked out by a program.

set(networkName 220321-307.nnue)
set(networkFile ${CMAKE_BINARY_DIR}/${networkName})
set(trainedNetwork ${CMAKE_SOURCE_DIR}/networks/${networkName})
file(GLOB networkSources CONFIGURE_DEPENDS networks/*.nnue networks/*.sha256)

if(trainedNetwork IN_LIST networkSources)
    add_custom_command(OUTPUT ${networkFile}
        COMMAND ${CMAKE_COMMAND} -DfromFile=${trainedNetwork} -DtoFile=${networkFile}
                -P ${CMAKE_SOURCE_DIR}/cmake/copyNetwork.cmake
        DEPENDS ${networkSources} cmake/copyNetwork.cmake
        COMMENT "Checking and copying the network file" VERBATIM)
elseif(TARGET provisionalNetwork)
    add_custom_command(OUTPUT ${networkFile}
        COMMAND provisionalNetwork ${networkFile}
        DEPENDS provisionalNetwork
        COMMENT "Making a provisional network file" VERBATIM)
else()
    unset(networkFile)
endif()

if(networkFile)
    add_custom_target(defaultNetwork ALL DEPENDS ${networkFile})
    if(TARGET tarvonel)
        add_dependencies(tarvonel defaultNetwork)
    endif()
endif()
