target_sources(Selvane PRIVATE
  entry/vorniklib3.cpp
  entry/PixelExchange.cpp
)
