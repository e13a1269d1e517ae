# The face in C++ as a program sees it: C++17, over the shared library, from its two headers alone.
add_executable(selvane_tests_lib_hpp lib/hpp/selvane_test.cpp lib/hpp/Second.cpp)
target_link_libraries(selvane_tests_lib_hpp PRIVATE Selvane::selvane Threads::Threads GTest::gtest_main)
selvane_compile(selvane_tests_lib_hpp)
set_target_properties(selvane_tests_lib_hpp PROPERTIES CXX_STANDARD 17)
gtest_discover_tests(selvane_tests_lib_hpp TEST_PREFIX lib.hpp. DISCOVERY_TIMEOUT 300)

# Both compilers, all warnings, the oldest language that it promises.
foreach(compiler g++ clang++)
  find_program(SELVANE_HPP_${compiler} ${compiler})
  if(SELVANE_HPP_${compiler})
    add_test(NAME lib.hpp.compiles_with_${compiler} COMMAND ${SELVANE_HPP_${compiler}} -std=c++17 -pedantic -Wall -Wextra -Wshadow
      -Wconversion -Wdouble-promotion -Werror -fsyntax-only -I${PROJECT_SOURCE_DIR}/lib/include
      ${CMAKE_CURRENT_SOURCE_DIR}/lib/hpp/Second.cpp)
  endif()
endforeach()
