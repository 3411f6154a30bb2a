# A floor is one folder of sources that others see as "<folder>/<header>.h" once they link it, and not before:
# each floor's headers stand behind an include directory of their own, so an include that looks up doesn't compile.
#
#   velmoml_floor(<name> [PATH <folder>] SOURCES <file>... [PUBLIC <floor>...] [PRIVATE <floor>...])
#
# PUBLIC are floors that its headers include, PRIVATE those that only its sources do.
function(velmoml_floor name)
  cmake_parse_arguments(FLOOR "" "PATH" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  if(NOT FLOOR_PATH)
    set(FLOOR_PATH ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  set(view ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${view})
  file(CREATE_LINK ${FLOOR_PATH} ${view}/${name} SYMBOLIC)
  if(FLOOR_SOURCES)
    add_library(${name} STATIC ${FLOOR_SOURCES})
    target_include_directories(${name} PUBLIC ${view})
    target_link_libraries(${name} PUBLIC ${FLOOR_PUBLIC} PRIVATE ${FLOOR_PRIVATE} velmoml_warnings)
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${view})
    target_link_libraries(${name} INTERFACE ${FLOOR_PUBLIC})
  endif()
endfunction()

# A program that goes to build/<preset>/bin.
function(velmoml_program name)
  cmake_parse_arguments(PROGRAM "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${PROGRAM_SOURCES})
  target_link_libraries(${name} PRIVATE ${PROGRAM_LINK} velmoml_warnings)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()

# A GoogleTest program: built to build/<preset>/bin and listed for scripts/test, which runs every program on that list.
# For ctest it is one test with the label "ordinary". With OWN_MAIN its sources have a main of their own, as those need
# that start themselves again as a child. With ONE_THREAD it knows no other thread, and the thread sanitizer's preset, which
# could find nothing in it, leaves it out.
function(velmoml_test name)
  cmake_parse_arguments(TEST "OWN_MAIN;ONE_THREAD" "" "SOURCES;LINK" ${ARGN})
  if(TEST_OWN_MAIN)
    set(framework GTest::gmock)
  else()
    set(framework GTest::gmock_main)
  endif()
  velmoml_program(${name} SOURCES ${TEST_SOURCES} LINK ${TEST_LINK} ${framework})
  if(VELMOML_TEST_PCH)
    target_precompile_headers(${name} REUSE_FROM velmoml_test_pch)
  endif()
  if(TEST_ONE_THREAD AND VELMOML_SANITIZE STREQUAL "thread")
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  set_property(GLOBAL APPEND PROPERTY VELMOML_TESTS ${name})
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS ordinary)
endfunction()

# A GoogleTest program that takes minutes, with a main of its own: on no list, and built only when it is asked for, by
# scripts/soak or by `ctest -L soak`.
function(velmoml_soak_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LINK" ${ARGN})
  velmoml_program(${name} SOURCES ${TEST_SOURCES} LINK ${TEST_LINK} GTest::gmock)
  set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
  add_test(NAME ${name}_build COMMAND ${CMAKE_COMMAND} --build ${CMAKE_BINARY_DIR} --target ${name})
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name}_build PROPERTIES LABELS soak FIXTURES_SETUP ${name}_is_built)
  set_tests_properties(${name} PROPERTIES LABELS soak FIXTURES_REQUIRED ${name}_is_built)
endfunction()
