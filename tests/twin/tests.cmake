# The twin is a direct transcription with the roundings where they stand: no vectoriser may join them.
set(twin_sources ReferenceFilter.cpp ReferenceRoad.cpp ReferenceTables.cpp)
list(TRANSFORM twin_sources PREPEND twin/ OUTPUT_VARIABLE twin_paths)
set_source_files_properties(${twin_paths} PROPERTIES COMPILE_OPTIONS "-fno-tree-vectorize;-fno-tree-slp-vectorize")

selvane_test(twin ${twin_sources} RoadCase.cpp Reference_test.cpp Road_test.cpp)
