# How the library is put together: each layer is one target. A layer finds the FACE of the layers
# that it SEES and nothing else, so that an include in the wrong direction does not compile. A
# header of another folder is included with that folder ("ado/provider.h"), and one of the own
# folder by its name.

add_library(mersola_options INTERFACE)
target_compile_features(mersola_options INTERFACE cxx_std_20)
target_compile_options(mersola_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                                 -Wnon-virtual-dtor)
# GCC 12 sees overlapping copies wherever a literal and a text are joined under -O3; GCC 13 does not.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(mersola_options INTERFACE -Wno-restrict)
endif()
if(MERSOLA_WARNINGS_AS_ERRORS)
    target_compile_options(mersola_options INTERFACE -Werror)
endif()
if(MERSOLA_SANITIZE)
    target_compile_options(mersola_options INTERFACE -fsanitize=${MERSOLA_SANITIZE}
                                                     -fno-sanitize-recover=all
                                                     -fno-omit-frame-pointer)
    target_link_options(mersola_options INTERFACE -fsanitize=${MERSOLA_SANITIZE})
endif()
if(MERSOLA_FUZZ)  # the programs alone bring libFuzzer, and its main()
    target_compile_options(mersola_options INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(mersola_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The public headers, which every layer may include as <mersola/...>.
add_library(mersola_headers INTERFACE)
target_include_directories(mersola_headers INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
target_compile_features(mersola_headers INTERFACE cxx_std_20)

# mersola_face(TARGET header...): the headers of the current folder that other folders may include.
# They find links to these alone.
function(mersola_face target)
    get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    set(links ${PROJECT_BINARY_DIR}/faces/${target})
    file(REMOVE_RECURSE ${links})
    file(MAKE_DIRECTORY ${links}/${folder})
    foreach(header IN LISTS ARGN)
        if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${header})
            message(FATAL_ERROR "the face of ${target} has no header ${header}")
        endif()
        file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${links}/${folder}/${header}
             SYMBOLIC COPY_ON_ERROR)
    endforeach()
    target_include_directories(${target} INTERFACE ${links})
endfunction()

# mersola_layer(NAME SOURCES file... [FACE header...] [SEES layer...] [USES library...])
#   FACE: headers that other layers may include
#   SEES: layers whose faces this one includes; what those see themselves does not come along
#   USES: foreign libraries, which no other layer sees
function(mersola_layer name)
    cmake_parse_arguments(LAYER "" "" "SOURCES;FACE;SEES;USES" ${ARGN})
    add_library(mersola_${name} OBJECT ${LAYER_SOURCES})
    set_target_properties(mersola_${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    mersola_face(mersola_${name} ${LAYER_FACE})
    list(TRANSFORM LAYER_SEES PREPEND mersola_)
    target_link_libraries(mersola_${name} PUBLIC mersola_headers
                                          PRIVATE mersola_options ${LAYER_SEES} ${LAYER_USES})
    set_property(GLOBAL APPEND PROPERTY MERSOLA_LAYERS mersola_${name})
    set_property(GLOBAL APPEND PROPERTY MERSOLA_LIBRARIES ${LAYER_USES})
endfunction()
