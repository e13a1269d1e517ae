# What the two forms of libselvane show to others, watched from outside.
set(abi ${CMAKE_CURRENT_LIST_DIR})
set(interface ${PROJECT_SOURCE_DIR}/lib/include)
add_test(NAME lib.abi.headers COMMAND ${abi}/headers.sh ${interface})
if(NOT SELVANE_SANITIZE)
  add_test(NAME lib.abi.symbols COMMAND ${abi}/symbols.sh $<TARGET_FILE:selvane_library> $<TARGET_FILE:selvane_static>
    ${interface}/selvane.h ${CMAKE_C_COMPILER})
endif()

foreach(form shared static)
  add_library(selvane_plugin_${form} MODULE ${abi}/Plugin.c)
  target_compile_options(selvane_plugin_${form} PRIVATE -std=c11 -fvisibility=hidden)
  selvane_compile(selvane_plugin_${form})
endforeach()
target_link_libraries(selvane_plugin_shared PRIVATE Selvane::selvane)
target_link_libraries(selvane_plugin_static PRIVATE Selvane::selvane_static)

add_executable(selvane_tests_lib_abi ${abi}/Neighbours_test.cpp)
target_compile_definitions(selvane_tests_lib_abi PRIVATE SELVANE_PLUGIN_SHARED="$<TARGET_FILE:selvane_plugin_shared>"
  SELVANE_PLUGIN_STATIC="$<TARGET_FILE:selvane_plugin_static>")
target_include_directories(selvane_tests_lib_abi PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(selvane_tests_lib_abi PRIVATE Selvane::Selvane GTest::gtest_main)
set_target_properties(selvane_tests_lib_abi PROPERTIES ENABLE_EXPORTS ON)
add_dependencies(selvane_tests_lib_abi selvane_plugin_shared selvane_plugin_static)
selvane_compile(selvane_tests_lib_abi)
gtest_discover_tests(selvane_tests_lib_abi TEST_PREFIX lib.abi. DISCOVERY_TIMEOUT 300)

add_executable(selvane_lib_alone ${abi}/Alone.c)
target_include_directories(selvane_lib_alone PRIVATE ${interface})
target_compile_options(selvane_lib_alone PRIVATE -std=c11)
target_link_libraries(selvane_lib_alone PRIVATE ${CMAKE_DL_LIBS})
selvane_compile(selvane_lib_alone)
add_test(NAME lib.abi.alone COMMAND selvane_lib_alone $<TARGET_FILE:selvane_library>)
