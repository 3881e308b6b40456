# What is installed and packed: builds side by side, each by a run of `cmake --install` on its folder, named
# by their instruction sets and without the names of their symbols, with one network.
#
# The engine looks for its network in the working directory. Elsewhere than on Windows the script in bin/
# starts there the best build that the processor can run.

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
# In the folders that their links name.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documentFolder})
install(DIRECTORY docs DESTINATION ${documentFolder} FILES_MATCHING PATTERN *.md)
install(FILES networks/README.md DESTINATION ${documentFolder}/networks)
