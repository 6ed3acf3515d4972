# Install rules: the library with its public headers, the package files for find_package and pkg-config, the tool with its
# manual pages and completions, the documents. Each belongs to a component, of which Packages.cmake makes a package.
include(CMakePackageConfigHelpers)

# The parts of a library's target, by component.
set(library_parts
    RUNTIME COMPONENT libraries
    LIBRARY COMPONENT libraries NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS COMPONENT development
    FILE_SET generated_headers COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KvxDevCommon01)

install(TARGETS KvxDevCommon01 EXPORT KvxDevCommon01Targets ${library_parts})
install(EXPORT KvxDevCommon01Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir} COMPONENT development)

# Exports of their own: programs need nothing of what the libraries stand on that they do not use.
set(libraries "")
foreach(library KvxRecording01 KvxPlot01)
    if(TARGET ${library})
        list(APPEND libraries ${library})
        install(TARGETS ${library} EXPORT ${library}Targets ${library_parts})
        install(EXPORT ${library}Targets NAMESPACE KvxDevCommon01:: DESTINATION ${package_dir} COMPONENT development)
    endif()
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KvxDevCommon01Config.cmake.in
    ${PROJECT_BINARY_DIR}/KvxDevCommon01Config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KvxDevCommon01ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/KvxDevCommon01Config.cmake
    ${PROJECT_BINARY_DIR}/KvxDevCommon01ConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# The prefix is found from where the .pc file lies, so that an installed tree can be moved.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package KvxDevCommon01 ${libraries})
    set(pc_definitions "")
    set(pc_private "#")  # a program that links a shared library needs nothing of what that one stands on
    if(NOT BUILD_SHARED_LIBS)
        set(pc_private "")
        string(TOUPPER ${package} upper_name)
        set(pc_definitions " -D${upper_name}_STATIC_DEFINE")
    endif()
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(TARGET kvx)
    install(TARGETS kvx COMPONENT tool)
    get_target_property(pages kvx PAGES)
endif()
if(pages)
    install(DIRECTORY ${pages}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tool)
    install(FILES ${pages}/bash/kvx DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
    install(FILES ${pages}/zsh/_kvx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tool)
    install(FILES ${pages}/fish/kvx.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()

if(PROJECT_IS_TOP_LEVEL)
    install(FILES README.md README.ja.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT documents)
    install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)
    install(DIRECTORY python/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}/python COMPONENT documents
        PATTERN __pycache__ EXCLUDE)
    include(${CMAKE_CURRENT_LIST_DIR}/Packages.cmake)
endif()
