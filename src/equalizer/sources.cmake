target_sources(Selvane PRIVATE
  equalizer/cColorEqRenderer.cpp
)
