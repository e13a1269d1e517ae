# What the library promises about faults, threads and memory. A program of its own, with its own DivideWork and, outside
# sanitizers, its own heap.
add_executable(selvane_tests_trust
  trust/Heap.cpp
  trust/TileHost.cpp
  trust/EntryCall.cpp
  trust/Faults.cpp
  trust/EntryFaults_test.cpp
  trust/ClassFaults_test.cpp
  trust/StateFaults_test.cpp
  trust/Hosts_test.cpp
  trust/Growth_test.cpp
)
target_include_directories(selvane_tests_trust PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(selvane_tests_trust PRIVATE Selvane::Selvane GTest::gtest GTest::gtest_main)
set_target_properties(selvane_tests_trust PROPERTIES ENABLE_EXPORTS ON)
selvane_compile(selvane_tests_trust)
selvane_arithmetic(selvane_tests_trust)
gtest_discover_tests(selvane_tests_trust TEST_PREFIX trust. DISCOVERY_TIMEOUT 300)

# The same losses as the leak sanitizer counts them.
if(SELVANE_SANITIZE MATCHES "address" AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_executable(selvane_trust_losses trust/losses.cpp trust/TileHost.cpp trust/Heap.cpp)
  target_include_directories(selvane_trust_losses PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(selvane_trust_losses PRIVATE Selvane::Selvane)
  set_target_properties(selvane_trust_losses PROPERTIES ENABLE_EXPORTS ON)
  selvane_compile(selvane_trust_losses)
  add_test(NAME trust.losses
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/trust/losses.sh $<TARGET_FILE:selvane_trust_losses>
      ${CMAKE_CURRENT_SOURCE_DIR}/trust/leaks.supp)
endif()
