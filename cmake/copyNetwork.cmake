# Copies `fromFile` to `toFile` after comparing its SHA-256 with the one in `fromFile`.sha256.

file(READ ${fromFile}.sha256 note)
string(REGEX MATCH "^[0-9a-f]+" expected "${note}")
file(SHA256 ${fromFile} actual)
if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "${fromFile} is damaged: its SHA-256 is ${actual}, not ${expected}")
endif()
configure_file(${fromFile} ${toFile} COPYONLY)
file(TOUCH_NOCREATE ${toFile})
