set(twin_sources ReferenceRoad.cpp ReferenceTables.cpp)
list(TRANSFORM twin_sources PREPEND twin/ OUTPUT_VARIABLE twin_paths)
set_source_files_properties(${twin_paths} PROPERTIES COMPILE_OPTIONS "${selvane_plain_loops}")

selvane_test(twin ${twin_sources} RoadCase.cpp Reference_test.cpp Road_test.cpp)
target_link_libraries(selvane_tests_twin PRIVATE selvane_test_direct)
