target_sources(Selvane PRIVATE
  bitmap/cException.cpp
  bitmap/cMemUtils.cpp
  bitmap/cBitmap.cpp
  bitmap/cBitmapBGR8.cpp
  bitmap/cBitmapBGR16.cpp
  bitmap/cBitmapXYZ32.cpp
  bitmap/cBitmapXYZ32T.cpp
  bitmap/cBitmapY32.cpp
  bitmap/cBitmapY8.cpp
  bitmap/cBitmapU16T.cpp
)
