# Run by CPack between staging and packing: manual pages are packed as gzip makes them.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/*.[1-9])
if(pages)
  execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
