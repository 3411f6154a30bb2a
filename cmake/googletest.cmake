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
  if(NOT MSVC)
    target_compile_options(${name} PRIVATE -O0 -g1)  # its own work is little, compiling it is not
  endif()
endforeach()
