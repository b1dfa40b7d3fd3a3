# cpack --preset package (or cpack -G DEB): luvia-tools, libluvia1 and libluvia-dev for Debian.
if(NOT LUVIA_INSTALL)
    return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME luvia)
set(CPACK_PACKAGE_VENDOR Luvia)
set(CPACK_PACKAGE_CONTACT "Luvia developers <luvia@orvane.com>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL tools runtime dev)
if(NOT TARGET luvia_shared)
    list(REMOVE_ITEM CPACK_COMPONENTS_ALL runtime)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME luvia-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "ID3 tags for live streams, and the boxes of movie files
 id3tag makes an ID3v2.4 tag from its command line, writes it to a file or
 sends it to a running stream segmenter. luvia-inspect shows the boxes of a
 movie or ISO file.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libluvia1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "media framework: times, buffers, formats, atoms
 A library of media time, block buffers, format descriptions, codec bitstream
 parsers and atoms, and a builder of ID3 tags.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libluvia-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libicu-dev, libexpat1-dev, uuid-dev, libbsd-dev")
if(TARGET luvia_shared)
    string(PREPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libluvia1 (= ${PROJECT_VERSION}-1), ")
endif()
set(CPACK_COMPONENT_DEV_DESCRIPTION "media framework: headers and archive
 What programs that use libluvia are compiled and linked with: C headers, the
 archive, and descriptions for pkg-config and CMake.")

if(LUVIA_DEBIAN)
    string(TIMESTAMP LUVIA_DATE "%a, %d %b %Y 00:00:00 +0000" UTC)
    configure_file(${PROJECT_SOURCE_DIR}/CMake/debian-changelog.in changelog.Debian @ONLY)
    luvia_compress(changelog.Debian)
    foreach(component tools runtime dev)
        string(TOUPPER ${component} upper)
        set(folder ${CMAKE_INSTALL_DOCDIR}/../${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
        cmake_path(NORMAL_PATH folder)
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz DESTINATION ${folder} COMPONENT ${component})
        install(FILES ${PROJECT_SOURCE_DIR}/CMake/debian-copyright DESTINATION ${folder} RENAME copyright COMPONENT ${component})
    endforeach()
endif()
include(CPack)
