# Packages of the installed files: for Debian, and archives for any Linux and for Windows. `make packages`
# chooses the builds that go into one.

set(CPACK_PACKAGE_NAME tarvonel)
set(CPACK_PACKAGE_VENDOR Ostrelund)
set(CPACK_PACKAGE_CONTACT "Tarvonel maintainers <maintainers@tarvonel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine for UCI user interfaces")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

string(TOLOWER ${CMAKE_SYSTEM_NAME} systemName)
set(CPACK_PACKAGE_FILE_NAME tarvonel-${PROJECT_VERSION}-${systemName}-${CMAKE_SYSTEM_PROCESSOR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"It plays standard chess and Chess960, searches with many threads, evaluates
with a small neural network, which the package contains, and can use Syzygy
tablebases. The package has several builds and starts the best for the
processor.")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/debianPlaces.cmake)

include(CPack)
