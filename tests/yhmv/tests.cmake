selvane_test(yhmv
  ../support/Allocations.cpp
  cYHMVColorSpace_test.cpp
  cYHMVColorSpace_Decode_test.cpp
  DecodeStrip_test.cpp
  cYHMVColorSpace_Neutral_test.cpp
)
