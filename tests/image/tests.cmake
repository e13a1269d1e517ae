selvane_test(image
  cImageUtils_test.cpp
  cImageUtils_Arithmetic_test.cpp
  cImageUtils_Convert_test.cpp
  cImageUtils_Copy_test.cpp
  cImageUtils_Statistics_test.cpp
)
