# mersola_embed_schema(OUTPUT): writes a C++ source that holds the statements of schema/, which has a
# folder for each engine, in the order in which they are to be run.
set(MERSOLA_SCHEMA_FIRST collation)  # where the engine has it
set(MERSOLA_SCHEMA_FILES
    groups measurements reports meas_value_map measured_functions measured_values measured_values_index
    markers markers_index func_name_map frq_name_map version_history)
# Where the engine has a folder packed, these stand for measured_values and its index there.
set(MERSOLA_SCHEMA_PACKED
    packed/value_blocks packed/value_data packed/pending_values packed/measured_values)
set(MERSOLA_SCHEMA_OPTIONS  # those that the engine has
    options/measured_values_locks options/markers_locks options/reports_locks
    options/measured_values_compression)
set(MERSOLA_SCHEMA_VIEWS  # likewise, each behind what it is made from
    views/time_text views/report_view views/value_view views/event_view)

# Those of `files` that the engine has.
function(mersola_schema_present engine files result)
    foreach(name IN LISTS files)
        if(NOT EXISTS "${PROJECT_SOURCE_DIR}/schema/${engine}/${name}.sql")
            list(REMOVE_ITEM files ${name})
        endif()
    endforeach()
    set(${result} "${files}" PARENT_SCOPE)
endfunction()

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
        mersola_schema_present(${engine} "${MERSOLA_SCHEMA_OPTIONS}" engine_options)
        mersola_schema_present(${engine} "${MERSOLA_SCHEMA_VIEWS}" engine_views)
        set(files ${MERSOLA_SCHEMA_FILES})
        if(EXISTS "${PROJECT_SOURCE_DIR}/schema/${engine}/${MERSOLA_SCHEMA_FIRST}.sql")
            list(PREPEND files ${MERSOLA_SCHEMA_FIRST})
        endif()
        mersola_schema_texts(${engine} "${files}" statements)
        mersola_schema_texts(${engine} "${engine_options}" options)
        mersola_schema_texts(${engine} "${engine_views}" views)
        set(packed "")
        if(EXISTS "${PROJECT_SOURCE_DIR}/schema/${engine}/packed")
            string(REPLACE "measured_values;measured_values_index" "${MERSOLA_SCHEMA_PACKED}" files "${MERSOLA_SCHEMA_FILES}")
            mersola_schema_texts(${engine} "${files}" packed)
        endif()
        string(APPEND layouts "{\"${engine}\", {\n${statements}}, {\n${packed}}, {\n${options}}, {\n${views}}},\n")
    endforeach()
    file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT
"// Made from the files in schema/.
#include <stdexcept>
#include <string>

#include \"schema.h\"

namespace mersola {
namespace {

struct Folder {
    std::string_view name;
    std::vector<std::string_view> statements, packed, options, views;
};

const Folder kFolders[]{
@layouts@};

const Folder& FolderOf(const Engine& engine) {
    for (const Folder& folder : kFolders) {
        if (folder.name == engine.layout) return folder;
    }
    throw std::logic_error(\"schema/ has no folder for \" + std::string(engine.name));
}

}  // namespace

const std::vector<std::string_view>& SchemaStatements(const Engine& engine, Layout layout) {
    const Folder& folder = FolderOf(engine);
    if (layout == Layout::Rows) return folder.statements;
    if (folder.packed.empty())
        throw std::logic_error(std::string(engine.name) + \" has no packed layout\");
    return folder.packed;
}

const std::vector<std::string_view>& SchemaOptions(const Engine& engine) {
    return FolderOf(engine).options;
}

const std::vector<std::string_view>& SchemaViews(const Engine& engine) {
    return FolderOf(engine).views;
}

}  // namespace mersola
")
endfunction()
