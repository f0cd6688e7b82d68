# libraries.cmake - what prepare is linked with
#
# Statically, where all archives are there: then a page costs what it needs of them, and nothing for
# finding each other.  Cryptography has no archive, and libtiff stands on a library under the GPL: both
# stay shared libraries, which the first document opens that is encrypted or has fax data.
add_library(prepare_libraries INTERFACE)

set(archives)
set(missing)
if(PDF_TO_PS_STATIC)
    list(REMOVE_DUPLICATES PREPARE_LIBRARIES_STATIC_LIBRARIES)
    foreach(name ${PREPARE_LIBRARIES_STATIC_LIBRARIES})
        if(NOT name MATCHES "^(m|pthread|dl|c|gnutls)$")
            find_library(ARCHIVE_${name} NAMES lib${name}.a
                HINTS ${PREPARE_LIBRARIES_STATIC_LIBRARY_DIRS})
            if(ARCHIVE_${name})
                list(APPEND archives ${ARCHIVE_${name}})
            else()
                list(APPEND missing ${name})
            endif()
        endif()
    endforeach()
    pkg_check_modules(GNUTLS gnutls)
    if(NOT GNUTLS_FOUND)
        list(APPEND missing gnutls)
    endif()
    if(missing)
        message(STATUS "pdf_prepare is linked dynamically: there is no archive of ${missing}")
    endif()
endif()

if(PDF_TO_PS_STATIC AND NOT missing)
    add_subdirectory(cryptography)
    target_include_directories(prepare_libraries SYSTEM INTERFACE ${PREPARE_LIBRARIES_INCLUDE_DIRS})
    target_link_libraries(prepare_libraries INTERFACE
        -Wl,--start-group ${archives} -Wl,--end-group cryptography m)
    find_library(TIFF_SHARED tiff HINTS ${TIFF_LIBRARY_DIRS} REQUIRED)
    file(REAL_PATH ${TIFF_SHARED} tiff_file)
    get_filename_component(tiff_file ${tiff_file} NAME)
    string(REGEX MATCH "^libtiff\\.so\\.[0-9]+" tiff_soname ${tiff_file})
    target_include_directories(prepare_libraries SYSTEM INTERFACE ${TIFF_INCLUDE_DIRS})
    target_compile_definitions(prepare_libraries INTERFACE TIFF_SONAME="${tiff_soname}")
else()
    target_link_libraries(prepare_libraries INTERFACE PkgConfig::PREPARE_LIBRARIES PkgConfig::TIFF)
endif()
