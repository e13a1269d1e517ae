selvane_test(render
  cTmRenderer_test.cpp cTmRenderer_Prepare_test.cpp cTmRenderer_Phase1_test.cpp cTmRenderer_Phase2_test.cpp
  cTmRenderer_Final_test.cpp)
