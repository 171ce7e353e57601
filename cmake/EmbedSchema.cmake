# mersola_embed_schema(OUTPUT): writes a C++ source that holds the statements of schema/, which has a
# folder for each engine, in the order in which they are to be run.
set(MERSOLA_SCHEMA_FILES
    groups measurements reports meas_value_map measured_functions measured_values measured_values_index
    markers markers_index func_name_map frq_name_map version_history)
set(MERSOLA_SCHEMA_OPTIONS  # those that the engine has
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
    file(GLOB engines CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/schema" "${PROJECT_SOURCE_DIR}/schema/*/groups.sql")
    list(TRANSFORM engines REPLACE "/groups.sql$" "")
    set(layouts "")
    foreach(engine IN LISTS engines)
        set(engine_options ${MERSOLA_SCHEMA_OPTIONS})
        foreach(option IN LISTS MERSOLA_SCHEMA_OPTIONS)
            if(NOT EXISTS "${PROJECT_SOURCE_DIR}/schema/${engine}/${option}.sql")
                list(REMOVE_ITEM engine_options ${option})
            endif()
        endforeach()
        mersola_schema_texts(${engine} "${MERSOLA_SCHEMA_FILES}" statements)
        mersola_schema_texts(${engine} "${engine_options}" options)
        string(APPEND layouts "{\"${engine}\", {\n${statements}}, {\n${options}}},\n")
    endforeach()
    file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT
"// Made from the files in schema/.
#include <stdexcept>
#include <string>

#include \"schema.h\"

namespace mersola {
namespace {

struct Layout {
    std::string_view folder;
    std::vector<std::string_view> statements, options;
};

const Layout kLayouts[]{
@layouts@};

const Layout& LayoutOf(const Engine& engine) {
    for (const Layout& layout : kLayouts) {
        if (layout.folder == engine.layout) return layout;
    }
    throw std::logic_error(\"schema/ has no folder for \" + std::string(engine.name));
}

}  // namespace

const std::vector<std::string_view>& SchemaStatements(const Engine& engine) {
    return LayoutOf(engine).statements;
}

const std::vector<std::string_view>& SchemaOptions(const Engine& engine) {
    return LayoutOf(engine).options;
}

}  // namespace mersola
")
endfunction()
