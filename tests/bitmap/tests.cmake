selvane_test(bitmap cException_test.cpp)
