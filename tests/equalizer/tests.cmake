selvane_test(equalizer
  ../support/Allocations.cpp
  cColorEqRenderer_test.cpp
)
