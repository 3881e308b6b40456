# CPack runs this on the staged files of a package. It sets their modes; in Debian's package it also moves games
# and their data to Debian's places and adds the changelog and the copyright file.

# Whatever the umask of whoever packs.
set(directoryModes DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(NOT CPACK_GENERATOR STREQUAL "DEB")
    file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${directoryModes})
    return()
endif()
set(usr ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr)
file(RENAME ${usr}/bin ${usr}/games)

file(GLOB network ${usr}/lib/tarvonel/*.nnue)
cmake_path(GET network FILENAME networkName)
file(MAKE_DIRECTORY ${usr}/share/games/tarvonel)
file(RENAME ${network} ${usr}/share/games/tarvonel/${networkName})
file(CREATE_LINK ../../share/games/tarvonel/${networkName} ${network} SYMBOLIC)

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${usr}/share/doc/tarvonel/changelog
"tarvonel (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * See CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(WRITE ${usr}/share/doc/tarvonel/copyright
"Tarvonel and its network, by ${CPACK_PACKAGE_VENDOR}.

Copyright: 2026 ${CPACK_PACKAGE_VENDOR}

License: none has been chosen yet. Until the owner chooses one, ask before you
redistribute the program, its source or its network.
")
execute_process(COMMAND gzip -9n ${usr}/share/doc/tarvonel/changelog ${usr}/share/man/man6/tarvonel.6
    COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${directoryModes})
file(CHMOD_RECURSE ${usr}/share FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
