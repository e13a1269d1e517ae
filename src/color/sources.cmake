target_sources(Selvane PRIVATE
  color/cMatrix.cpp
  color/cMatrixD.cpp
  color/cColorSpace.cpp
  color/cColorSpaceProfiles.cpp
  color/cColorUtils.cpp
)
