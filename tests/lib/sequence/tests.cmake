selvane_lib_test(sequence
  SequenceApi_test.cpp
  Shots_test.cpp
  Smooth_test.cpp
)
