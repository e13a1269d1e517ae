# What libselvane promises about faults, threads, forks and streams. The programs hold the shared library, as a program of a user does;
# outside of sanitizers one has a heap of its own.
set(trust ${CMAKE_CURRENT_LIST_DIR})

function(selvane_lib_trust name)
  add_executable(selvane_tests_lib_${name} ${ARGN})
  target_include_directories(selvane_tests_lib_${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${trust})
  target_compile_definitions(selvane_tests_lib_${name} PRIVATE SELVANE_HEADER="${PROJECT_SOURCE_DIR}/lib/include/selvane.h")
  target_link_libraries(selvane_tests_lib_${name} PRIVATE Selvane::selvane GTest::gtest_main Threads::Threads)
  set_target_properties(selvane_tests_lib_${name} PROPERTIES ENABLE_EXPORTS ON)
  selvane_compile(selvane_tests_lib_${name})
  gtest_discover_tests(selvane_tests_lib_${name} TEST_PREFIX lib.trust. DISCOVERY_TIMEOUT 300)
endfunction()

selvane_lib_trust(trust_faults ${trust}/Faults_test.cpp ${trust}/Scenario.cpp trust/Heap.cpp)
selvane_lib_trust(trust_hosts ${trust}/Hosts_test.cpp ${trust}/Nulls_test.cpp ${trust}/Scenario.cpp)
