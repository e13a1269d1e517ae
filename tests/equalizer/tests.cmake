selvane_test(equalizer
  ../yhmv/FailingNew.cpp
  cColorEqRenderer_test.cpp
)
