# `ninja -C build/release reference`: HTML pages of the public headers and the documentation, made by Doxygen, in
# build/<preset>/reference/html. A warning fails it.
find_program(CSM_DOXYGEN doxygen)
if(NOT CSM_DOXYGEN)
  message(STATUS "doxygen is not installed: no target `reference`")
  return()
endif()
include(cmake/public_headers.cmake)

set(CSM_REFERENCE ${PROJECT_BINARY_DIR}/reference)
csm_public_headers(headers)
file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
foreach(entry IN LISTS headers)
  string(REPLACE "|" "/" file ${entry})
  get_filename_component(file ${PROJECT_SOURCE_DIR}/${file} ABSOLUTE)
  list(APPEND files ${file})
endforeach()
list(TRANSFORM files REPLACE "(.+)" "\"\\1\"" OUTPUT_VARIABLE quoted)
list(JOIN quoted " " CSM_REFERENCE_INPUT)
configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(reference
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CSM_REFERENCE}
  COMMAND ${CSM_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
  DEPENDS ${files} docs/Doxyfile.in
  VERBATIM COMMENT "Reference of the public headers")
