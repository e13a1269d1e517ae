target_sources(Selvane PRIVATE
  entry/vorniklib3.cpp
  entry/PixelInput.cpp
  entry/PixelOutput.cpp
)
