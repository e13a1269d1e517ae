selvane_test(color
  cMatrix_test.cpp cColorSpace_test.cpp cColorSpace_Failure_test.cpp cColorSpaceProfiles_test.cpp
  cColorUtils_test.cpp ../support/Allocations.cpp)
