target_sources(Selvane PRIVATE
  render/cTmRenderer.cpp
  render/RenderOnce.cpp
  render/cTmRenderer_Prepare.cpp
  render/cTmRenderer_Logarithm.cpp
  render/cTmRenderer_Phase1.cpp
  render/Layers.cpp
  render/cTmRenderer_Phase2.cpp
  render/LayerTables.cpp
  render/Luminance.cpp
  render/cTmRenderer_Points.cpp
  render/cTmRenderer_Final.cpp
)
