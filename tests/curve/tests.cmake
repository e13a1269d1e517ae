selvane_test(curve
  cTransfer_test.cpp
  SlowSpline.cpp
  cHermiteSpline_test.cpp
  cHermiteSpline_Tables_test.cpp
  cHermiteSpline_Editing_test.cpp
  cInterpolatedHermiteSpline_test.cpp
  ../support/Allocations.cpp)
