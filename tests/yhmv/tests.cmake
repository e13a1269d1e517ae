selvane_test(yhmv
  FailingNew.cpp
  cYHMVColorSpace_test.cpp
  cYHMVColorSpace_Decode_test.cpp
)
