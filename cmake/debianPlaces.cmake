# CPack runs this on the files of a package before it packs them: where Debian has its games, their data
# and what every package tells about itself.

if(NOT CPACK_GENERATOR STREQUAL "DEB")
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
