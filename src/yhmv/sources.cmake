target_sources(Selvane PRIVATE
  yhmv/cYHMVColorSpace.cpp
  yhmv/cYHMVColorSpace_Decode.cpp
)
