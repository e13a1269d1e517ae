target_sources(Selvane PRIVATE
  filter/cBilateral.cpp
  filter/cBilateral_Blur.cpp
  filter/cBilateral_Ref.cpp
)
