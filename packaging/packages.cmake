# packages.cmake - what cpack makes: a Debian package and an archive of the installed tree
#
#   cmake --preset release && cmake --build --preset release && cpack --config build/release/CPackConfig.cmake

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME pdf-to-ps)
set(CPACK_PACKAGE_VENDOR "The pdf_to_ps maintainers")
set(CPACK_PACKAGE_CONTACT "The pdf_to_ps maintainers <maintainers@pdf-to-ps.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converts PDF documents to PostScript programs")
set(CPACK_PACKAGE_DESCRIPTION
    "Page content is passed through instead of being redrawn: the output is small,\n\
 its text stays text, and a document is converted about as fast as it is copied.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "poppler-utils, jbig2dec, poppler-data") # what pdf_prepare calls and reads
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cups, cups-filters-core-drivers") # the print system of the filter
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
