# The suggestion of settings: its measures, and what it does with made scenes and with callbacks of the tests' own.
add_executable(selvane_tests_suggest
  lib/suggest/Character_test.cpp lib/suggest/Impression_test.cpp lib/suggest/Levels_test.cpp lib/suggest/LookSettings_test.cpp lib/suggest/Quality_test.cpp lib/suggest/Suggest_test.cpp)
target_link_libraries(selvane_tests_suggest PRIVATE
  selvane_tmqi selvane_objects selvane_engine selvane_suggest Threads::Threads GTest::gtest_main)
selvane_compile(selvane_tests_suggest)
selvane_arithmetic(selvane_tests_suggest)
selvane_build_quickly(selvane_tests_suggest)
gtest_discover_tests(selvane_tests_suggest TEST_PREFIX lib.suggest. DISCOVERY_TIMEOUT 300)
