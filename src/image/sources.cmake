target_sources(Selvane PRIVATE
  image/cImageUtils.cpp
  image/cImageUtils_Rows.cpp
)
