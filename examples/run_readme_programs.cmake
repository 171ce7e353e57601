# Runs the README's programs as its reader would.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
foreach(command "${TOOL};init;noise.db" "${RECORDER}" "${READER}")
    execute_process(COMMAND ${command} WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_VARIABLE output)
endforeach()
if(NOT output STREQUAL "60.0 dB\n61.0 dB\n62.0 dB\n63.0 dB\n")
    message(FATAL_ERROR "the reader printed: ${output}")
endif()
