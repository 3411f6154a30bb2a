# GoogleTest from the sources of Debian's package "googletest", built with each preset's own compiler and sanitizer.
set(VELMOML_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Folder with GoogleTest's sources")
if(NOT EXISTS ${VELMOML_GOOGLETEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest's sources are not in ${VELMOML_GOOGLETEST_SOURCE}: "
    "install Debian's package googletest, or set VELMOML_GOOGLETEST_SOURCE.")
endif()
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
add_subdirectory(${VELMOML_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(name gtest gtest_main gmock gmock_main)
  if(NOT TARGET GTest::${name})
    add_library(GTest::${name} ALIAS ${name})
  endif()
  # Its own work is little, compiling it is not. A sanitizer keeps its optimisation: without it, a death test's child
  # is given the wrong end of its stack when the address sanitizer watches for uses after return.
  if(NOT MSVC AND NOT VELMOML_SANITIZE)
    target_compile_options(${name} PRIVATE -O0 -g1)
  endif()
endforeach()
