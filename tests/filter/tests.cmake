selvane_test(filter
  cBilateral_test.cpp
  cBilateral_Blur_test.cpp
  cBilateral_Ref_test.cpp
  DivideWork_test.cpp
  ArrayLog.cpp
)
target_link_libraries(selvane_tests_filter PRIVATE selvane_test_direct)
