# Install rules: the library with its public headers, the package files for find_package and pkg-config, the tool.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KvxDevCommon01)

install(TARGETS KvxDevCommon01 EXPORT KvxDevCommon01Targets
    FILE_SET HEADERS
    FILE_SET generated_headers)
install(EXPORT KvxDevCommon01Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir})

# Exports of their own: programs need nothing of what the libraries stand on that they do not use.
set(libraries "")
foreach(library KvxRecording01 KvxPlot01)
    if(TARGET ${library})
        list(APPEND libraries ${library})
        install(TARGETS ${library} EXPORT ${library}Targets
            FILE_SET HEADERS
            FILE_SET generated_headers)
        install(EXPORT ${library}Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir})
    endif()
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KvxDevCommon01Config.cmake.in
    ${PROJECT_BINARY_DIR}/KvxDevCommon01Config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KvxDevCommon01ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/KvxDevCommon01Config.cmake
    ${PROJECT_BINARY_DIR}/KvxDevCommon01ConfigVersion.cmake
    DESTINATION ${package_dir})

# The prefix is found from where the .pc file lies, so that an installed tree can be moved.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package KvxDevCommon01 ${libraries})
    set(pc_definitions "")
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER ${package} upper_name)
        set(pc_definitions " -D${upper_name}_STATIC_DEFINE")
    endif()
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(TARGET kvx)
    install(TARGETS kvx)
endif()
