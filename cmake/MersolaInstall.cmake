# What is installed where, for programs that build against the library (CMake, pkg-config) and for
# Debian's packages: libmersola1, libmersola-dev, mersola and python3-mersola.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/mersola)

install(TARGETS mersola mersola_headers EXPORT mersolaTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
# No library to link to, so that it lies apart.
install(TARGETS mersola_values LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/mersola COMPONENT runtime)
install(DIRECTORY include/mersola DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT mersolaTargets NAMESPACE mersola:: DESTINATION ${config_folder} COMPONENT development)

configure_package_config_file(cmake/mersolaConfig.cmake.in mersolaConfig.cmake
                              INSTALL_DESTINATION ${config_folder})
write_basic_package_version_file(mersolaConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mersolaConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/mersolaConfigVersion.cmake
        DESTINATION ${config_folder} COMPONENT development)

file(RELATIVE_PATH from_pkgconfig_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pkgconfig_needs "")
if(NOT BUILD_SHARED_LIBS)  # the shared library brings its own, and nobody needs their headers
    set(pkgconfig_needs "odbc libzstd libxxhash")
    if(MERSOLA_WITH_POSTGRESQL)
        string(APPEND pkgconfig_needs " libpq")
    endif()
    if(NOT MERSOLA_SQLITE_AMALGAMATION)
        string(PREPEND pkgconfig_needs "sqlite3 ")
    endif()
endif()
configure_file(cmake/mersola.pc.in mersola.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mersola.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# install_compressed(FILE FOLDER COMPONENT): as Debian wants manual pages and changelogs
find_program(GZIP_PROGRAM gzip REQUIRED)
function(install_compressed file folder component)
    get_filename_component(name ${file} NAME)
    set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
    execute_process(COMMAND ${GZIP_PROGRAM} -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

if(MERSOLA_BUILD_TOOL)
    install(TARGETS mersola_tool DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    install_compressed(${PROJECT_SOURCE_DIR}/docs/mersola.1 ${CMAKE_INSTALL_MANDIR}/man1 tool)
    foreach(engine IN ITEMS postgresql sqlserver)
        install(DIRECTORY schema/${engine}/server DESTINATION ${CMAKE_INSTALL_DATADIR}/mersola/${engine}
                COMPONENT tool)
    endforeach()
    # The dynamic linker looks into /usr by itself; elsewhere the tool finds its library beside it.
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        file(RELATIVE_PATH from_tool_to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(mersola_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${from_tool_to_library}")
    endif()
endif()

# The package for Python, where Debian's Python looks for it; pip makes a wheel of the same folder.
set(python_folder lib/python3/dist-packages)
install(DIRECTORY python/mersola DESTINATION ${python_folder} COMPONENT python
        FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)
configure_file(cmake/python/METADATA.in METADATA @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/METADATA
        DESTINATION ${python_folder}/mersola-${PROJECT_VERSION}.dist-info COMPONENT python)

if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

# What Debian's people look for in /usr/share: a changelog in each package, and the pages.
set(CPACK_PACKAGE_CONTACT "The mersola developers <mersola@localhost>")
string(TIMESTAMP changelog_time "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/changelog.in changelog @ONLY)
install_compressed(${CMAKE_CURRENT_BINARY_DIR}/changelog ${CMAKE_INSTALL_DATADIR}/doc/libmersola${PROJECT_VERSION_MAJOR}
                   runtime)
install_compressed(${CMAKE_CURRENT_BINARY_DIR}/changelog ${CMAKE_INSTALL_DATADIR}/doc/libmersola-dev development)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmersola-dev COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmersola-dev COMPONENT development
        FILES_MATCHING PATTERN *.md PATTERN *.py PATTERN *.svg PATTERN *.png)
install_compressed(${CMAKE_CURRENT_BINARY_DIR}/changelog ${CMAKE_INSTALL_DATADIR}/doc/python3-mersola python)
if(MERSOLA_BUILD_TOOL)
    install_compressed(${CMAKE_CURRENT_BINARY_DIR}/changelog ${CMAKE_INSTALL_DATADIR}/doc/mersola tool)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tool python)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libmersola${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
if(NOT MERSOLA_SQLITE_AMALGAMATION)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libsqlite3-0 (>= ${MERSOLA_LEAST_SQLITE})")
endif()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS tdsodbc)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "storage of monitoring instruments (library)
 Stores what monitoring instruments measure, period by period, in SQLite, on
 PostgreSQL or on Microsoft SQL Server, and hands it back as blocks of values.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmersola-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libmersola${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "storage of monitoring instruments (headers)
 What a program needs to be built against libmersola${PROJECT_VERSION_MAJOR}.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME mersola)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libmersola${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "gnuplot-nox, tzdata")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "storage of monitoring instruments (command-line tool)
 Lays out databases, records sound files as levels, shows, plots, checks and
 copies what a database holds.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-mersola)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= 3.9), python3-numpy (>= 1:1.22), libmersola${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-pandas, python3-xarray, python3-matplotlib")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-netcdf4, tzdata")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/python/postinst
                                              ${PROJECT_SOURCE_DIR}/cmake/python/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "storage of monitoring instruments (Python)
 Reads what libmersola stores into NumPy arrays, gives it to pandas, xarray and
 matplotlib, and records.")
include(CPack)
