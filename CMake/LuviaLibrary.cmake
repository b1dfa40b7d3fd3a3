# The library as others use it: the headers they see, one archive and one shared library of all that the tree's archives
# hold, and how both are installed.

set(sources ${PROJECT_SOURCE_DIR}/Sources)
file(GLOB_RECURSE luvia_public_headers CONFIGURE_DEPENDS
    ${sources}/Foundation/Zo*.h ${sources}/Foundation/Yx*.h ${sources}/Foundation/Wn*.h
    ${sources}/Platform/Lu*.h ${sources}/Utilities/Lu*.h ${sources}/Core/Lu*.h ${sources}/Core/Lu*.inc ${sources}/DataIO/Lu*.h
    ${sources}/Core/TavFormatDescription/Tav*Bridge.h)
list(FILTER luvia_public_headers EXCLUDE REGEX "Private\\.h$")
# Internal operations over bytes that programs of one's own are promised: records of codecs, atoms, digest, notes.
foreach(header
    Core/TavFormatDescription/TavFormatDescriptionKeys.h
    Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h
    Core/TavFormatDescription/FormatDescriptionBridge_Common/TavCommonEncryption.h
    Core/TavBlockBuffer/TavBlockBuffer.h
    Platform/Common/TavLog.h Platform/Common/TavNote.h
    Utilities/TavAssetAnalysisSupport.h Utilities/TavAtomStream.h Utilities/TavAtomWriter.h Utilities/TavDigestSHA1.h)
    list(APPEND luvia_public_headers ${sources}/${header})
endforeach()
set(luvia_tag_headers ${PROJECT_SOURCE_DIR}/Tools/id3tag/ID3Builder.h ${PROJECT_SOURCE_DIR}/Tools/id3tag/ID3Output.h)
list(APPEND luvia_public_headers ${luvia_tag_headers})
string(REPLACE ";" "\n" lines "${luvia_public_headers}")
file(CONFIGURE OUTPUT public_headers.txt CONTENT "${lines}\n" @ONLY)

get_property(luvia_services GLOBAL PROPERTY LUVIA_SERVICES)
list(TRANSFORM luvia_services PREPEND -Wl,-u, OUTPUT_VARIABLE luvia_service_options)
set(luvia_objects $<TARGET_OBJECTS:zo> $<TARGET_OBJECTS:luvia> $<TARGET_OBJECTS:luviatag>)
set(luvia_needed ICU::i18n ICU::uc ICU::data EXPAT::EXPAT ${LUVIA_UUID} ${LUVIA_BSD} Threads::Threads)
get_target_property(dispatch_type dispatch TYPE)
if(dispatch_type STREQUAL INTERFACE_LIBRARY)
    list(APPEND luvia_needed ${LUVIA_LIBDISPATCH})
else()
    list(APPEND luvia_objects $<TARGET_OBJECTS:dispatch>)
endif()

function(luvia_as_others_use_it target)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME luvia LINKER_LANGUAGE CXX
        ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
endfunction()

add_library(luvia_archive STATIC ${luvia_objects})
luvia_as_others_use_it(luvia_archive)

# Users name files, not our targets, so that a project of C alone links with its own compiler.
function(luvia_interface name)
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/Sources ${PROJECT_SOURCE_DIR}/Tools)
    target_link_libraries(${name} INTERFACE $<TARGET_FILE:luvia_archive> ${ARGN} stdc++ m)
    add_dependencies(${name} luvia_archive)
endfunction()
luvia_interface(luvia_static ${luvia_needed})
target_link_options(luvia_static INTERFACE ${luvia_service_options})
luvia_interface(luvia_static_tag Threads::Threads)
add_library(luvia::luvia_static ALIAS luvia_static)

# Not of sanitizers' builds: their run-time belongs to the program.
if(BUILD_SHARED_LIBS AND NOT LUVIA_SANITIZE)
    set(exports ${CMAKE_CURRENT_BINARY_DIR}/luvia.map)
    add_custom_command(OUTPUT ${exports}
        COMMAND ${CMAKE_COMMAND} -DHEADERS=${CMAKE_CURRENT_BINARY_DIR}/public_headers.txt -DOUTPUT=${exports}
            -P ${PROJECT_SOURCE_DIR}/CMake/WriteExports.cmake
        DEPENDS ${luvia_public_headers} ${CMAKE_CURRENT_BINARY_DIR}/public_headers.txt CMake/WriteExports.cmake
        COMMENT "Listing what the shared library exports" VERBATIM)
    add_custom_target(luvia_exports DEPENDS ${exports})
    add_library(luvia_shared SHARED ${luvia_objects})
    luvia_as_others_use_it(luvia_shared)
    add_dependencies(luvia_shared luvia_exports)
    set_target_properties(luvia_shared PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 1 LINK_DEPENDS ${exports})
    target_link_options(luvia_shared PRIVATE -Wl,--version-script=${exports} -Wl,-z,defs -Wl,-z,relro -Wl,-z,now
        -Wl,--gc-sections -Wl,--as-needed)
    target_link_libraries(luvia_shared PRIVATE ${luvia_needed})
    target_include_directories(luvia_shared INTERFACE ${PROJECT_SOURCE_DIR}/Sources ${PROJECT_SOURCE_DIR}/Tools)
    add_library(luvia::luvia_shared ALIAS luvia_shared)
    add_library(luvia::luvia ALIAS luvia_shared)
    add_library(luvia::tag ALIAS luvia_shared)
else()
    add_library(luvia::luvia ALIAS luvia_static)
    add_library(luvia::tag ALIAS luvia_static_tag)
endif()

if(NOT LUVIA_INSTALL)
    return()
endif()

install(TARGETS luvia_archive ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
if(TARGET luvia_shared)
    install(TARGETS luvia_shared LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
endif()
foreach(header IN LISTS luvia_public_headers)
    string(REGEX REPLACE "^${PROJECT_SOURCE_DIR}/(Sources|Tools)/" "" place ${header})
    cmake_path(GET place PARENT_PATH place)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/luvia/${place} COMPONENT dev)
endforeach()

# How to link. Written when it is installed: only then is the prefix known, and the way from here to the headers.
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/luvia-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/luvia-config-version.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/luvia COMPONENT dev)
set(luvia_static_libraries icui18n icuuc icudata expat uuid bsd)
if(dispatch_type STREQUAL INTERFACE_LIBRARY)
    list(APPEND luvia_static_libraries dispatch)
    set(luvia_dispatch_word -ldispatch)
endif()
if(TARGET luvia_shared)
    set(luvia_shared_name libluvia.so)
endif()
configure_file(${PROJECT_SOURCE_DIR}/CMake/InstallDescriptions.cmake.in InstallDescriptions.cmake @ONLY)
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/InstallDescriptions.cmake COMPONENT dev)
