# kvx_library(Name COMPONENT c MACRO_PREFIX KVX_X SOURCES ... HEADERS ...): a library that stands on the common one, as
# KvxDevCommon01::c. Its headers are included as <Name/...>, in the tree as where they are installed: the build has
# the folder under that name. HEADERS lists the public ones; those in detail/ are private and not listed.
include(GenerateExportHeader)

function(kvx_library name)
    cmake_parse_arguments(library "" "COMPONENT;MACRO_PREFIX" "SOURCES;HEADERS" ${ARGN})
    add_library(${name})
    add_library(KvxDevCommon01::${library_COMPONENT} ALIAS ${name})
    kvx_compile_options(${name})

    set(include_root ${CMAKE_CURRENT_BINARY_DIR}/include)
    file(MAKE_DIRECTORY ${include_root})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${name} SYMBOLIC)
    set(generated_root ${CMAKE_CURRENT_BINARY_DIR}/generated)
    generate_export_header(${name}
        EXPORT_MACRO_NAME ${library_MACRO_PREFIX}_API
        NO_EXPORT_MACRO_NAME ${library_MACRO_PREFIX}_NO_API
        EXPORT_FILE_NAME ${generated_root}/${name}/Export.h)

    # The number of the binary interface follows the rule of the common library's.
    set_target_properties(${name} PROPERTIES
        EXPORT_NAME ${library_COMPONENT}
        VERSION ${PROJECT_VERSION}
        SOVERSION 23)
    target_compile_features(${name} PUBLIC cxx_std_20)
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER ${name} upper_name)
        target_compile_definitions(${name} PUBLIC ${upper_name}_STATIC_DEFINE)
    elseif(UNIX AND NOT APPLE)
        set(exports ${PROJECT_SOURCE_DIR}/cmake/Exports.map)
        target_link_options(${name} PRIVATE -Wl,--version-script=${exports})
        set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${exports})
    endif()
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${include_root}>
        $<BUILD_INTERFACE:${generated_root}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${name} PUBLIC KvxDevCommon01::KvxDevCommon01)

    list(TRANSFORM library_HEADERS PREPEND ${include_root}/${name}/)
    target_sources(${name}
        PRIVATE ${library_SOURCES}
        PUBLIC
            FILE_SET HEADERS BASE_DIRS ${include_root} FILES ${library_HEADERS}
            FILE_SET generated_headers TYPE HEADERS BASE_DIRS ${generated_root} FILES ${generated_root}/${name}/Export.h)
endfunction()
