# compress_manuals.cmake - cpack runs this on each tree that becomes packages
if(CPACK_GENERATOR STREQUAL "DEB")
    file(GLOB_RECURSE manuals ${CPACK_TEMPORARY_DIRECTORY}/*.[1-8])
    list(FILTER manuals INCLUDE REGEX "/share/man/man[1-8]/[^/]*$")
    foreach(manual ${manuals})
        execute_process(COMMAND gzip -9n ${manual} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
endif()
