# Lays a database out with TOOL, with OPTIONS, and runs PROGRAM on it.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
string(TIMESTAMP now "%Y-%m-%dT%H:%M:%S")
foreach(command "${TOOL};init;c.db;${OPTIONS}" "${PROGRAM};c.db;${now}" "${TOOL};check;c.db")
    execute_process(COMMAND ${command} WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
