# Each source stands before other functions of the system's, so each is a program of its own.
selvane_test(base Log10_test.cpp QuickMath_test.cpp)
foreach(part BigPages TableFallback)
  string(TOLOWER ${part} name)
  add_executable(selvane_tests_base_${name} base/${part}_test.cpp)
  target_link_libraries(selvane_tests_base_${name} PRIVATE -Wl,--whole-archive selvane_test_support -Wl,--no-whole-archive
    GTest::gtest_main ${CMAKE_DL_LIBS})
  set_target_properties(selvane_tests_base_${name} PROPERTIES ENABLE_EXPORTS ON)
  selvane_compile(selvane_tests_base_${name})
  selvane_arithmetic(selvane_tests_base_${name})
  gtest_discover_tests(selvane_tests_base_${name} TEST_PREFIX base. DISCOVERY_TIMEOUT 300)
endforeach()
