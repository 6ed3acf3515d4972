# Debian packages of the components, by cpack -G DEB in a build of the preset "debian". A package more is a component more:
# its install rules, its name in CPACK_COMPONENTS_ALL, and what is said of it below.
set(KVX_PACKAGE_MAINTAINER "KvxDevCommon01 authors <maintainers@kvx.invalid>" CACHE STRING "Who maintains the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvx)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # the first line of each description
set(CPACK_PACKAGE_CONTACT ${KVX_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)  # all cores compress
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL libraries development tool documents)
if(KVX_BUILD_PYTHON)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/KvxDevCommon01 ${PROJECT_BINARY_DIR}/recording ${PROJECT_BINARY_DIR}/plot)
set(kvx_exact_libraries "libkvx23 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(suite "common library of a suite of vibration-test controllers")
string(JOIN "\n" libraries_text
    "Typed numeric containers, physical units, signal processing (spectra, transfer"
    "functions, filters, changes of the sampling rate), the suite's binary data"
    "files and the recordings of others, and graphs as SVG, PDF, PNG and JPEG."
    "."
    "This package has the shared libraries KvxDevCommon01, KvxRecording01 and"
    "KvxPlot01.")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libkvx23)  # the number of the binary interface
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "${suite}\n${libraries_text}")

string(JOIN "\n" development_text
    "Headers, and the packages for CMake (find_package) and pkg-config, of the"
    "libraries KvxDevCommon01, KvxRecording01 and KvxPlot01.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkvx-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${kvx_exact_libraries})
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${suite} (development files)\n${development_text}")

string(JOIN "\n" tool_text
    "kvx takes recordings of any format (text tables, logger, seismic, universal,"
    "MATLAB, NumPy and sound files) to any other, describes them, analyses them,"
    "filters and resamples them and draws them; it makes random signals of a given"
    "spectral density and knows the units and files of the suite.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME kvx)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ${kvx_exact_libraries})
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "fonts-dejavu-core")
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "kvx-doc, fonts-vlgothic")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "convert, describe and analyse recordings of vibration\n${tool_text}")

string(JOIN "\n" documents_text
    "The first hour with the tool, the pages of its commands, the formats of files"
    "byte by byte, formulas and error bounds, and examples of programs.")
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_NAME kvx-doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DOCUMENTS_DESCRIPTION "${suite} (documents)\n${documents_text}")

if(KVX_BUILD_PYTHON)
    # An extension serves the Python that it was compiled for, and arrays of the binary interface that this one's NumPy has.
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    set(python ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR})
    math(EXPR next_minor "${Python3_VERSION_MINOR} + 1")
    execute_process(COMMAND dpkg-query -W -f "\${Provides}" python3-numpy
        OUTPUT_VARIABLE numpy_provides ERROR_QUIET RESULT_VARIABLE failed)
    string(REGEX MATCH "python3-numpy[0-9]*-abi[0-9]+" numpy_abi "${numpy_provides}")
    string(JOIN ", " python_depends
        ${kvx_exact_libraries} "python3 (>= ${python}~)" "python3 (<< ${Python3_VERSION_MAJOR}.${next_minor})" python3-numpy
        ${numpy_abi})
    string(JOIN "\n" python_text
        "Recordings of any format, units, spectra, transfer functions, filters, random"
        "tests and graphs of the suite in Python, with samples as NumPy arrays, SciPy's"
        "names where a function is the same, and types for editors and checkers.")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kvx)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${python_depends}")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "fonts-dejavu-core")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "kvx-doc, python3-distributed, python3-scipy")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA  # bytecode is written at installation and goes with the package
        ${CMAKE_CURRENT_LIST_DIR}/debian/python3-kvx/postinst ${CMAKE_CURRENT_LIST_DIR}/debian/python3-kvx/prerm)
    set(CPACK_COMPONENT_PYTHON_DESCRIPTION "${suite} (Python module)\n${python_text}")
endif()

# What Debian asks of each package beside its files.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake)
set(CPACK_KVX_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_KVX_OVERRIDES ${PROJECT_SOURCE_DIR}/cmake/debian)
include(CPack)
