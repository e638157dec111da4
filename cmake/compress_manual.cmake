# Run by cpack on the staged files: Debian wants man pages compressed, and without a time stamp, so that the same page
# makes the same file.
file(GLOB pages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share/man/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
