# packages.cmake - what cpack makes: Debian packages, one for each component, and an archive of all
#
#   cmake --preset package && cmake --build --preset package
#   cpack --config build/package/CPackConfig.cmake -B build/packages
#
# The libraries are shared there (PDF_TO_PS_STATIC=OFF), as a distribution wants its packages.

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME pdf-to-ps)
set(CPACK_PACKAGE_VENDOR "The pdf_to_ps maintainers")
set(CPACK_PACKAGE_CONTACT "The pdf_to_ps maintainers <maintainers@pdf-to-ps.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
# Directories that cpack makes are everyone's to read, whoever builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# Manual pages are compressed in packages, and only there.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress_manuals.cmake)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# debian_component(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION [DEPENDS list])
set(CPACK_COMPONENTS_ALL)
find_program(GZIP gzip REQUIRED)
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz)
execute_process(COMMAND ${GZIP} -9nc ${CMAKE_CURRENT_LIST_DIR}/changelog OUTPUT_FILE ${changelog}
    COMMAND_ERROR_IS_FATAL ANY)
macro(debian_component component package section summary description)
    string(TOUPPER ${component} COMPONENT)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION "${summary}\n${description}")
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_DEPENDS "${ARGN}")
    install(FILES packaging/copyright ${changelog}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endmacro()

debian_component(program pdf-to-ps text "prints PDF documents on PostScript printers"
    "Page content is passed through instead of being redrawn: the output is small,\nits text stays text, and a document is converted about as fast as it is copied.")
# What the programs call, and the data of encodings.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS
    "poppler-utils, jbig2dec, poppler-data, ghostscript")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "cups-client, parallel")

debian_component(library libpdf-to-ps${PROJECT_VERSION_MAJOR} libs
    "converts PDF documents to PostScript, as a library"
    "One call converts one document, from several threads at once.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)

debian_component(development libpdf-to-ps-dev libdevel
    "converts PDF documents to PostScript, what programs are compiled with"
    "The header, the static library, and what CMake and pkg-config read."
    "libpdf-to-ps${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

if(TARGET pdf_to_ps-cups)
    debian_component(cups pdf-to-ps-cups text "prints PDF documents in the print system"
        "A filter and a description of a generic PostScript printer."
        "pdf-to-ps (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
    set(CPACK_DEBIAN_CUPS_PACKAGE_RECOMMENDS "cups, cups-filters-core-drivers") # which has pdftopdf
endif()

include(CPack)
