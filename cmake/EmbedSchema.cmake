# mersola_embed_schema(ENGINE OUTPUT): writes a C++ source that holds the statements of
# schema/ENGINE, in the order in which they are to be run.
set(MERSOLA_SCHEMA_FILES
    groups measurements reports meas_value_map measured_functions measured_values measured_values_index
    markers markers_index func_name_map frq_name_map version_history)

function(mersola_embed_schema engine output)
    set(statements "")
    foreach(name IN LISTS MERSOLA_SCHEMA_FILES)
        set(file "${PROJECT_SOURCE_DIR}/schema/${engine}/${name}.sql")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
        file(READ "${file}" statement)
        string(APPEND statements "    R\"sql(${statement})sql\",\n")
    endforeach()
    file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT
"// Made from the files in schema/${engine}.
#include \"schema.h\"

const std::vector<std::string_view>& SchemaStatements() {
    static const std::vector<std::string_view> statements{
@statements@    };
    return statements;
}
")
endfunction()
