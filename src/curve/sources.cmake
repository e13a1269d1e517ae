target_sources(Selvane PRIVATE
  curve/cTransfer.cpp
  curve/SampleTransfer.cpp
  curve/cHermiteSpline.cpp
  curve/cHermiteSpline_Tables.cpp
)
