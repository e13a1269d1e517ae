selvane_test(entry vorniklib3_test.cpp PixelExchange_test.cpp)
