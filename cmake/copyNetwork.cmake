# Copies `fromFile` to `toFile` if its SHA-256 is the one noted in `fromFile`.sha256.

file(READ ${fromFile}.sha256 note)
string(REGEX MATCH "^[0-9a-f]+" noted "${note}")
file(SHA256 ${fromFile} actual)
if(NOT actual STREQUAL noted)
    message(FATAL_ERROR "${fromFile} is damaged: its SHA-256 is ${actual}, not ${noted}")
endif()
configure_file(${fromFile} ${toFile} COPYONLY)
file(TOUCH_NOCREATE ${toFile})
