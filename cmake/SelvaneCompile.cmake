# Compiler rules of the tree, put on targets and never into CMAKE_CXX_FLAGS.
#
# selvane_compile(TARGET): warnings, language level, hardening of what is shipped, and sanitizers; every target of ours.
# selvane_arithmetic(TARGET): the one rule of arithmetic. Nothing is contracted; -fno-math-errno and -fno-trapping-math
# change no value, only errno and the exception flags, and let loops with a choice or a conversion vectorise.
# RelWithDebInfo is optimised as far as Release: at -O2 the pixel loops stay scalar. Under sanitizers both are at -O1: the tests
# compile in minutes, and reports name the lines that were written.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
include(CMakePushCheckState)

check_pie_supported(LANGUAGES C CXX)
check_cxx_compiler_flag(-fcf-protection SELVANE_HAS_CONTROL_FLOW_PROTECTION) # x86
check_cxx_compiler_flag(-fstack-clash-protection SELVANE_HAS_STACK_CLASH_PROTECTION)

function(selvane_compile target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion -Wdouble-promotion)
  if(SELVANE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(SELVANE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${SELVANE_SANITIZE} -fno-omit-frame-pointer $<${selvane_optimised}:-O1>)
    target_link_options(${target} PRIVATE -fsanitize=${SELVANE_SANITIZE})
  else()
    target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O3>)
    selvane_harden(${target})
  endif()
endfunction()

# The configurations that are shipped.
set(selvane_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)

# For tests that call what other targets have built and compare: their own code is built quickly rather than made fast.
function(selvane_build_quickly target)
  target_compile_options(${target} PRIVATE $<${selvane_optimised}:-O1>)
endfunction()

# Checked forms of the C library's copying and printing, a canary before the return address of functions with arrays, a touch of
# every page of a large frame, marks at the targets of indirect calls, code that can be loaded anywhere, and relocations that are
# done at load time and read-only after it. None of it changes a value. tests/abi/hardening.sh looks for them in the files.
function(selvane_harden target)
  target_compile_options(${target} PRIVATE
    $<${selvane_optimised}:-U_FORTIFY_SOURCE> $<${selvane_optimised}:-D_FORTIFY_SOURCE=2> -fstack-protector-strong
    $<$<BOOL:${SELVANE_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection>
    $<$<BOOL:${SELVANE_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>)
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()

# Containers that look at their indices and iterators. Not for the library, whose loops over pixels they would slow down.
function(selvane_checked_containers target)
  target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
endfunction()

function(selvane_arithmetic target)
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno -fno-trapping-math)
endfunction()

# Several compiled versions of a loop need a compiler that clones functions and a loader that picks one: g++ 12 or
# clang 19 and later, x86-64, glibc. Sanitizers and coverage run before the loader can choose, so not with those.
function(selvane_versions target)
  string(TOUPPER "${CMAKE_BUILD_TYPE}" config)
  if(NOT SELVANE_VERSIONED OR SELVANE_SANITIZE OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64"
     OR "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${config}}" MATCHES "-fsanitize|--coverage|-fprofile")
    return()
  endif()
  if((CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
     OR (CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 19))
    cmake_push_check_state(RESET)
    check_cxx_source_compiles("
      #include <cstdlib>
      #ifndef __GLIBC__
      #error no glibc
      #endif
      namespace { __attribute__((target_clones(\"default\", \"arch=x86-64-v3\", \"arch=x86-64-v4\"))) int f(int x) { return x; } }
      int main(int n, char**) { return f(n); }" SELVANE_HAS_TARGET_CLONES)
    cmake_pop_check_state()
    if(SELVANE_HAS_TARGET_CLONES)
      target_compile_definitions(${target} PRIVATE SELVANE_VERSIONS)
    endif()
  endif()
endfunction()
