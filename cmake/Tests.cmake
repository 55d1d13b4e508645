# Most of the time to build everything goes into the test framework's headers: they are precompiled
# once, and test programs are not optimised. What they test is.
find_package(GTest REQUIRED)
include(GoogleTest)

function(velora_quick_build target)
  target_compile_options(${target} PRIVATE -U_FORTIFY_SOURCE -O0 -g1)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")  # tests misuse locks on purpose
    target_compile_options(${target} PRIVATE -Wno-thread-safety)
  endif()
  target_link_libraries(${target} PRIVATE GTest::gtest GTest::gmock)
endfunction()

file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/velora_test_headers.cc CONTENT "")
add_library(velora_test_headers OBJECT ${CMAKE_BINARY_DIR}/velora_test_headers.cc)
velora_quick_build(velora_test_headers)
set_target_properties(velora_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(velora_test_headers PRIVATE -fPIE)  # as the programs that use them
target_precompile_headers(velora_test_headers PRIVATE
  <gmock/gmock.h> <gtest/gtest.h> <atomic> <fstream> <string> <thread> <vector>)

# velora_test(name LABEL unit|real [TIMEOUT seconds] SOURCES file...): a test program over
# GoogleTest, each of its cases known to ctest.
function(velora_test name)
  cmake_parse_arguments(T "" "LABEL;TIMEOUT" "SOURCES" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 60)
  endif()
  add_executable(${name} ${T_SOURCES})
  # Sources of the product keep to what they include, and the analysis cannot read GCC's headers.
  foreach(source IN LISTS T_SOURCES)
    if(IS_ABSOLUTE ${source})
      set_source_files_properties(${source} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
  endforeach()
  velora_quick_build(${name})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_precompile_headers(${name} REUSE_FROM velora_test_headers)
  target_link_libraries(${name} PRIVATE GTest::gmock_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS ${T_LABEL} TIMEOUT ${T_TIMEOUT})
endfunction()
