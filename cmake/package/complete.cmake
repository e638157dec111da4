# cpack runs this on the staged files. It adds what Debian requires in every package: the licence, the two changelogs
# and lintian's overrides with their reasons. It compresses what Debian requires to be compressed, without a time stamp,
# so that the result is always the same.
set(input ${CPACK_KESH_SOURCE}/cmake/package)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
    set(doc ${share}/doc/${package})
    file(MAKE_DIRECTORY ${doc} ${share}/lintian/overrides)
    file(COPY_FILE ${CPACK_KESH_SOURCE}/LICENSE ${doc}/copyright)
    file(COPY_FILE ${CPACK_KESH_SOURCE}/CHANGELOG.md ${doc}/changelog)
    file(COPY_FILE ${input}/changelog ${doc}/changelog.Debian)
    file(GLOB pages ${share}/man/man*/*.[0-9])
    execute_process(COMMAND gzip -9nf ${doc}/changelog ${doc}/changelog.Debian ${pages} COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB overrides ${input}/overrides ${input}/${package}.overrides)
    execute_process(COMMAND cat ${overrides} OUTPUT_FILE ${share}/lintian/overrides/${package} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
