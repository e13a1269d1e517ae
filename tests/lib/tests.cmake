# Tests of libselvane, in folders like those of lib/. selvane_lib_test(FOLDER SOURCE...): one program a folder, with the library's
# objects inside, so that it reaches what the library hides.
function(selvane_lib_test folder)
  set(target selvane_tests_lib_${folder})
  list(TRANSFORM ARGN PREPEND lib/${folder}/)
  add_executable(${target} ${ARGN})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/lib)
  target_link_libraries(${target} PRIVATE selvane_objects selvane_engine selvane_suggest Threads::Threads GTest::gmock GTest::gtest_main)
  selvane_compile(${target})
  selvane_arithmetic(${target})
  selvane_build_quickly(${target})
  gtest_discover_tests(${target} TEST_PREFIX lib.${folder}. DISCOVERY_TIMEOUT 300)
endfunction()

find_package(Threads REQUIRED)
foreach(part settings api sequence hpp)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/lib/${part}/tests.cmake)
    include(lib/${part}/tests.cmake)
  endif()
endforeach()

find_program(SELVANE_MAN man)
if(SELVANE_MAN)
  add_test(NAME lib.manual COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/lib/manual.sh ${PROJECT_SOURCE_DIR}/lib/include/selvane.h
    ${PROJECT_BINARY_DIR}/lib/selvane.3)
endif()
