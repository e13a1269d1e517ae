target_sources(Selvane PRIVATE
  render/cTmRenderer.cpp
  render/cTmRenderer_Prepare.cpp
  render/cTmRenderer_Logarithm.cpp
  render/cTmRenderer_Phase1.cpp
  render/cTmRenderer_Phase2.cpp
  render/cTmRenderer_Points.cpp
  render/cTmRenderer_Final.cpp
)
