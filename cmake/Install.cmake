# Install rules: the library with its public headers, the package files for find_package and pkg-config, the tool.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KvxDevCommon01)

install(TARGETS KvxDevCommon01 EXPORT KvxDevCommon01Targets
    FILE_SET HEADERS
    FILE_SET generated_headers)
install(EXPORT KvxDevCommon01Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir})

if(TARGET KvxPlot01)
    # An export of its own: programs without plots need nothing of what it stands on.
    install(TARGETS KvxPlot01 EXPORT KvxPlot01Targets
        FILE_SET HEADERS
        FILE_SET generated_headers)
    install(EXPORT KvxPlot01Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir})
endif()

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
set(pc_definitions "")
if(NOT BUILD_SHARED_LIBS)
    set(pc_definitions " -DKVXDEVCOMMON01_STATIC_DEFINE")
endif()
set(packages KvxDevCommon01)
set(plot_definitions "")
if(TARGET KvxPlot01)
    list(APPEND packages KvxPlot01)
    if(NOT BUILD_SHARED_LIBS)
        set(plot_definitions " -DKVXPLOT01_STATIC_DEFINE")
    endif()
endif()
foreach(package ${packages})
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(TARGET kvx)
    install(TARGETS kvx)
endif()
