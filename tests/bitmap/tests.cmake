selvane_test(bitmap
  cException_test.cpp
  cMemUtils_test.cpp
  cBitmap_test.cpp
  cBitmapBGR8_test.cpp
  cBitmapBGR16_test.cpp
  cBitmapXYZ32_test.cpp
  cBitmapXYZ32T_test.cpp
  cBitmapY32_test.cpp
  cBitmapY8_test.cpp
  cBitmapU16T_test.cpp
)

# A program of its own, with the heap under watch. A sanitizer brings its own heap.
if(NOT SELVANE_SANITIZE)
  add_executable(selvane_tests_bitmap_memory bitmap/Memory_test.cpp bitmap/Heap.cpp)
  target_link_libraries(selvane_tests_bitmap_memory PRIVATE
    -Wl,--whole-archive selvane_test_support -Wl,--no-whole-archive GTest::gtest_main)
  set_target_properties(selvane_tests_bitmap_memory PROPERTIES ENABLE_EXPORTS ON)
  selvane_compile(selvane_tests_bitmap_memory)
  gtest_discover_tests(selvane_tests_bitmap_memory TEST_PREFIX bitmap. DISCOVERY_TIMEOUT 300)
endif()
