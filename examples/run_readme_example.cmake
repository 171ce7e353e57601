# Runs the README's program as its reader would: behind the demo's first recording.
file(REMOVE_RECURSE "${FOLDER}/build/demo")
file(MAKE_DIRECTORY "${FOLDER}/build/demo")
set(database build/demo/demo.db)
set(sound /usr/share/sounds/alsa/Front_Center.wav)
foreach(command "${TOOL};init;${database}"
                "${TOOL};record;${database};${sound};--instrument;demo;--measurement;Front_Center"
                "${PROGRAM}")
    execute_process(COMMAND ${command} WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_VARIABLE output)
endforeach()
if(NOT output MATCHES "^([0-9]+\\.[0-9] dB\n)+$")
    message(FATAL_ERROR "the program printed: ${output}")
endif()
