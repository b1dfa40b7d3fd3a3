# cmake --build <build> --target docs: pages of the public headers, from their comments, under <build>/docs/html.
find_program(LUVIA_DOXYGEN doxygen)
if(NOT LUVIA_DOXYGEN)
    return()
endif()
list(JOIN luvia_public_headers " " luvia_doxygen_input)
configure_file(${PROJECT_SOURCE_DIR}/CMake/Doxyfile.in Doxyfile @ONLY)
add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -DDOXYGEN=${LUVIA_DOXYGEN} -DDOXYFILE=${CMAKE_CURRENT_BINARY_DIR}/Doxyfile
        -P ${PROJECT_SOURCE_DIR}/CMake/RunDoxygen.cmake
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "Writing docs/html" VERBATIM)
