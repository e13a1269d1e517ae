target_sources(Selvane PRIVATE
  filter/cBilateral.cpp
  filter/cBilateral_Bounds.cpp
  filter/cBilateral_Scatter.cpp
  filter/cBilateral_Smooth.cpp
  filter/cBilateral_Slice.cpp
  filter/cBilateral_Blur.cpp
  filter/cBilateral_Ref.cpp
)
