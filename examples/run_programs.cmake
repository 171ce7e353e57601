# Runs a documented recorder and reader as their reader would, and checks what they left.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
foreach(command "${TOOL};init;noise.db" "${RECORDER}" "${TOOL};check;noise.db" "${READER}")
    execute_process(COMMAND ${command} WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_VARIABLE output)
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} -E echo_append "${output}")
