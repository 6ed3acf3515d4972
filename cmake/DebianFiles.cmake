# Run by cpack on the files of the packages before they are packed: the copyright file, the changelog and the overrides of
# lintian in the folder of each package, manual pages compressed, and no search paths in programs, since the libraries lie
# where the loader looks by itself. SOURCE_DATE_EPOCH gives the date, where it is set.
cmake_policy(SET CMP0057 NEW)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
    if(NOT IS_DIRECTORY ${root})
        continue()
    endif()
    set(folder ${root}/share/doc/${package})
    file(READ ${CPACK_KVX_LICENSE} license)
    string(REGEX MATCH "Copyright [^\n]*" copyright "${license}")
    string(REGEX REPLACE "^.*authors\n\n" "" license "${license}")
    string(STRIP "${license}" license)
    string(REGEX REPLACE "\n\n" "\n.\n" license "${license}")
    string(REPLACE "\n" "\n " license "${license}")
    string(REGEX REPLACE "Copyright \\(c\\) " "" copyright "${copyright}")
    file(WRITE ${folder}/copyright
        "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\nUpstream-Name: KvxDevCommon01\n\n"
        "Files: *\nCopyright: ${copyright}\nLicense: Expat\n ${license}\n")
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    file(WRITE ${folder}/changelog.Debian
        "kvx (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
        "  * Packages of this version; what changed is told in CHANGELOG.md of\n    kvx-doc.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    if(EXISTS ${CPACK_KVX_OVERRIDES}/${package}.lintian-overrides)
        file(COPY ${CPACK_KVX_OVERRIDES}/${package}.lintian-overrides DESTINATION ${root}/share/lintian/overrides)
        file(RENAME ${root}/share/lintian/overrides/${package}.lintian-overrides ${root}/share/lintian/overrides/${package})
    endif()
    file(GLOB_RECURSE binaries LIST_DIRECTORIES NO ${root}/bin/* ${root}/lib/*.so ${root}/lib/*.so.*)
    foreach(binary IN LISTS binaries)
        if(NOT IS_SYMLINK ${binary})
            file(RPATH_REMOVE FILE ${binary})
        endif()
    endforeach()
    file(GLOB pages ${root}/share/man/man1/*.1)
    execute_process(COMMAND gzip -9nf ${pages} ${folder}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
    # Whoever builds may have a strict umask.
    execute_process(COMMAND chmod -R u+rwX,go+rX,go-w ${CPACK_TEMPORARY_DIRECTORY}/${component} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
