# A library of headers alone, from a Debian package or from any other copy of it. The headers reach the build through a
# folder of their own: /usr/include as a whole would put this system's headers before those of a cross compiler.
#
#   velmoml_header_library(<target> FOLDER <name under the include folder> PROBE <header> PACKAGE <Debian package>)
#
# The cache variable <TARGET>_SOURCE names the folder that they are copied from.
function(velmoml_header_library name)
  cmake_parse_arguments(LIBRARY "" "FOLDER;PROBE;PACKAGE" "" ${ARGN})
  string(TOUPPER ${name}_SOURCE variable)
  set(${variable} /usr/include/${LIBRARY_FOLDER} CACHE PATH "Folder with ${LIBRARY_PROBE} and the headers beside it")
  if(NOT EXISTS ${${variable}}/${LIBRARY_PROBE})
    message(FATAL_ERROR "${LIBRARY_PROBE} is not in ${${variable}}: "
      "install Debian's package ${LIBRARY_PACKAGE}, or set ${variable}.")
  endif()
  file(COPY ${${variable}}/ DESTINATION ${CMAKE_BINARY_DIR}/${name}/${LIBRARY_FOLDER})
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/${name})
endfunction()
