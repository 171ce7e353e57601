# The SQLite that the library works with, as the target SQLite::SQLite3: the system's, or the one in
# the folder MERSOLA_SQLITE_AMALGAMATION, which becomes a part of the library that nobody else sees.
if(NOT MERSOLA_SQLITE_AMALGAMATION)
    find_package(SQLite3 ${MERSOLA_LEAST_SQLITE} REQUIRED GLOBAL)  # global: programs in the same tree link it too
    return()
endif()

foreach(file sqlite3.c sqlite3.h)
    if(NOT EXISTS "${MERSOLA_SQLITE_AMALGAMATION}/${file}")
        message(FATAL_ERROR "MERSOLA_SQLITE_AMALGAMATION: there is no ${file} in ${MERSOLA_SQLITE_AMALGAMATION}")
    endif()
endforeach()
file(STRINGS "${MERSOLA_SQLITE_AMALGAMATION}/sqlite3.h" sqlite_version REGEX "^#define SQLITE_VERSION ")
string(REGEX MATCH "[0-9.]+" sqlite_version "${sqlite_version}")
if(sqlite_version VERSION_LESS MERSOLA_LEAST_SQLITE)
    message(FATAL_ERROR "MERSOLA_SQLITE_AMALGAMATION: SQLite ${sqlite_version} is older than ${MERSOLA_LEAST_SQLITE}")
endif()
message(STATUS "Building in SQLite ${sqlite_version}")

enable_language(C)
find_package(Threads REQUIRED)
add_library(mersola_sqlite3 OBJECT "${MERSOLA_SQLITE_AMALGAMATION}/sqlite3.c")
add_library(SQLite::SQLite3 ALIAS mersola_sqlite3)
set_target_properties(mersola_sqlite3 PROPERTIES POSITION_INDEPENDENT_CODE ON C_VISIBILITY_PRESET hidden)
target_include_directories(mersola_sqlite3 SYSTEM PUBLIC "${MERSOLA_SQLITE_AMALGAMATION}")
target_compile_definitions(mersola_sqlite3 PRIVATE SQLITE_OMIT_LOAD_EXTENSION)
target_compile_options(mersola_sqlite3 PRIVATE -w)  # its makers care for it
target_link_libraries(mersola_sqlite3 PUBLIC Threads::Threads)
