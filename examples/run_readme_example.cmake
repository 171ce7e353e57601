# Runs the README's program as its reader would.
file(REMOVE "${FOLDER}/noise.db" "${FOLDER}/noise.db-wal" "${FOLDER}/noise.db-shm")
foreach(command "${TOOL};init;noise.db" "${PROGRAM}" "${PROGRAM}")
    execute_process(COMMAND ${command} WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_VARIABLE output)
endforeach()
if(NOT output MATCHES "61.5 dB")
    message(FATAL_ERROR "the program printed: ${output}")
endif()
