# mersola_embed_schema(OUTPUT): writes a C++ source that holds the statements of schema/, those of an
# engine in the order in which they are to be run.
set(MERSOLA_SCHEMA_FILES
    groups measurements reports meas_value_map measured_functions measured_values measured_values_index
    markers markers_index func_name_map frq_name_map version_history)
set(MERSOLA_SCHEMA_OPTIONS  # SQL Server's only
    options/measured_values_locks options/markers_locks options/reports_locks
    options/measured_values_compression)

function(mersola_schema_texts engine files result)
    set(statements "")
    foreach(name IN LISTS files)
        set(file "${PROJECT_SOURCE_DIR}/schema/${engine}/${name}.sql")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
        file(READ "${file}" statement)
        string(APPEND statements "    R\"sql(${statement})sql\",\n")
    endforeach()
    set(${result} "${statements}" PARENT_SCOPE)
endfunction()

function(mersola_embed_schema output)
    mersola_schema_texts(sqlite "${MERSOLA_SCHEMA_FILES}" sqlite)
    mersola_schema_texts(sqlserver "${MERSOLA_SCHEMA_FILES}" sqlserver)
    mersola_schema_texts(sqlserver "${MERSOLA_SCHEMA_OPTIONS}" options)
    file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT
"// Made from the files in schema/.
#include \"schema.h\"

namespace mersola {
namespace {

using Statements = std::vector<std::string_view>;

const Statements kSQLite{
@sqlite@};

const Statements kSqlServer{
@sqlserver@};

const Statements kSqlServerOptions{
@options@};

const Statements kNone;

}  // namespace

const Statements& SchemaStatements(SchemaEngine engine) {
    return engine == SchemaEngine::SQLite ? kSQLite : kSqlServer;
}

const Statements& SchemaOptions(SchemaEngine engine) {
    return engine == SchemaEngine::SQLite ? kNone : kSqlServerOptions;
}

}  // namespace mersola
")
endfunction()
