# The operation for GEGL: in this process, on GEGL's command line, and, with the label desktop, in a real GIMP.
if(NOT TARGET selvane_gegl)
  return()
endif()

pkg_get_variable(gegl_modules gegl-0.4 pluginsdir)
set(modules ${gegl_modules}:$<TARGET_FILE_DIR:selvane_gegl>)

add_executable(selvane_gegl_compare gegl/compare.c)
target_link_libraries(selvane_gegl_compare PRIVATE PkgConfig::GEGL Selvane::selvane_static)
target_compile_options(selvane_gegl_compare PRIVATE -std=gnu11)
selvane_compile(selvane_gegl_compare)

add_executable(selvane_tests_gegl gegl/Operation_test.cpp gegl/Sliders_test.cpp)
target_link_libraries(selvane_tests_gegl PRIVATE selvane_gegl_parts GTest::gtest)
target_compile_definitions(selvane_tests_gegl PRIVATE SELVANE_GEGL_MODULES="${modules}")
add_dependencies(selvane_tests_gegl selvane_gegl)
selvane_compile(selvane_tests_gegl)
gtest_discover_tests(selvane_tests_gegl TEST_PREFIX gegl. DISCOVERY_TIMEOUT 300)

find_program(SELVANE_GEGL_COMMAND gegl)
if(SELVANE_GEGL_COMMAND AND SELVANE_COMMAND AND NOT SELVANE_SANITIZE)
  add_test(NAME gegl.command COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/gegl/command.sh ${modules} $<TARGET_FILE:selvane-scene>
    $<TARGET_FILE:selvane_gegl_compare>)
endif()
if(TARGET selvane_gimp AND SELVANE_COMMAND AND NOT SELVANE_SANITIZE)
  foreach(name script dialog cancel)
    add_test(NAME gimp.${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/gegl/gimp.sh ${name} ${PROJECT_BINARY_DIR}
      $<TARGET_FILE:selvane-scene> $<TARGET_FILE:selvane_gegl_compare>)
    set_tests_properties(gimp.${name} PROPERTIES LABELS desktop RUN_SERIAL ON)
  endforeach()
endif()
