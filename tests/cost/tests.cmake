# What a call costs, counted and not timed. A sanitizer brings its own heap, and instructions of its own.
if(SELVANE_SANITIZE OR NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()
add_executable(selvane_tests_cost_pages cost/Pages_test.cpp)
target_link_libraries(selvane_tests_cost_pages PRIVATE -Wl,--whole-archive selvane_test_support -Wl,--no-whole-archive GTest::gtest_main)
set_target_properties(selvane_tests_cost_pages PROPERTIES ENABLE_EXPORTS ON)
selvane_compile(selvane_tests_cost_pages)
gtest_discover_tests(selvane_tests_cost_pages TEST_PREFIX cost. DISCOVERY_TIMEOUT 300)

add_executable(selvane_cost_calls cost/calls.cpp)
target_link_libraries(selvane_cost_calls PRIVATE Selvane::Selvane)
set_target_properties(selvane_cost_calls PROPERTIES ENABLE_EXPORTS ON)
selvane_compile(selvane_cost_calls)
# The numbers are those of one compiler and of the shipped build.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13 AND CMAKE_BUILD_TYPE STREQUAL "Release"
   AND SELVANE_VERSIONED AND CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  add_test(NAME cost.instructions COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/cost/instructions.sh $<TARGET_FILE:selvane_cost_calls>
    ${CMAKE_CURRENT_SOURCE_DIR}/cost/instructions.txt)
  set_tests_properties(cost.instructions PROPERTIES SKIP_RETURN_CODE 77)
endif()
