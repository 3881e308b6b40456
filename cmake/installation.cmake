# The installed files, in packages too: several builds side by side, stripped and named by their
# instruction set, with one network. `cmake --install` on each build's folder adds that build.
#
# The engine looks for its network in the working directory. Except on Windows, the script in bin/
# changes to that folder and starts the best build that the processor can run.

set(shippedProgram ${CMAKE_BINARY_DIR}/tarvonel-${TARVONEL_ARCH}${CMAKE_EXECUTABLE_SUFFIX})
add_custom_command(TARGET tarvonel POST_BUILD BYPRODUCTS ${shippedProgram}
    COMMAND ${CMAKE_STRIP} -o ${shippedProgram} $<TARGET_FILE:tarvonel> VERBATIM)

if(WIN32)
    set(engineFolder .)
    set(documentFolder .)
else()
    set(engineFolder lib/tarvonel)
    set(documentFolder share/doc/tarvonel)
    install(PROGRAMS tools/tarvonel.sh DESTINATION bin RENAME tarvonel)
    install(PROGRAMS tools/runnableBuilds.sh DESTINATION ${engineFolder} RENAME runnableBuilds)
    configure_file(docs/tarvonel.6 tarvonel.6 @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/tarvonel.6 DESTINATION share/man/man6)
endif()
install(PROGRAMS ${shippedProgram} DESTINATION ${engineFolder})
install(FILES ${networkFile} DESTINATION ${engineFolder})
# In the folders that the links between them expect.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documentFolder})
install(DIRECTORY docs DESTINATION ${documentFolder}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ FILES_MATCHING PATTERN *.md)
install(FILES networks/README.md DESTINATION ${documentFolder}/networks)
