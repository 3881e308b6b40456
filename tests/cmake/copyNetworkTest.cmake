# A network is copied if its checksum is right, and only then.
set(from ${CMAKE_CURRENT_BINARY_DIR}/checked.nnue)
set(to ${CMAKE_CURRENT_BINARY_DIR}/copied.nnue)

function(copyExpecting outcome)
    file(REMOVE ${to})
    execute_process(COMMAND ${CMAKE_COMMAND} -DfromFile=${from} -DtoFile=${to} -P ${script}
        RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    if(status EQUAL 0)
        set(status copied)
    endif()
    if(outcome STREQUAL copied AND (NOT status STREQUAL copied OR NOT EXISTS ${to}))
        message(FATAL_ERROR "an undamaged network was not copied")
    elseif(outcome STREQUAL refused AND (status STREQUAL copied OR EXISTS ${to}))
        message(FATAL_ERROR "a damaged network was copied")
    endif()
endfunction()

file(WRITE ${from} "weights")
file(SHA256 ${from} checksum)
file(WRITE ${from}.sha256 "${checksum}  checked.nnue\n")
copyExpecting(copied)
file(WRITE ${from} "Weights")
copyExpecting(refused)
