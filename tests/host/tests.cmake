# The host's tests, in folders like those of host/. The tests of the pool are a program without the library, so that they can run under
# ThreadSanitizer.
include(CheckCXXSourceRuns)

add_executable(selvane_tests_host_pool host/pool/WorkPool_test.cpp ${PROJECT_SOURCE_DIR}/host/pool/WorkPool.cpp)
target_include_directories(selvane_tests_host_pool PRIVATE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(selvane_tests_host_pool PRIVATE GTest::gtest_main)
selvane_compile(selvane_tests_host_pool)
gtest_discover_tests(selvane_tests_host_pool TEST_PREFIX host. DISCOVERY_TIMEOUT 300)

if(NOT SELVANE_SANITIZE)
  cmake_push_check_state(RESET)
  set(CMAKE_REQUIRED_FLAGS -fsanitize=thread)
  set(CMAKE_REQUIRED_LINK_OPTIONS -fsanitize=thread)
  check_cxx_source_runs("int main() { return 0; }" SELVANE_HAS_THREAD_SANITIZER)
  cmake_pop_check_state()
  if(SELVANE_HAS_THREAD_SANITIZER)
    add_executable(selvane_tests_host_pool_tsan host/pool/WorkPool_test.cpp ${PROJECT_SOURCE_DIR}/host/pool/WorkPool.cpp)
    target_include_directories(selvane_tests_host_pool_tsan PRIVATE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(selvane_tests_host_pool_tsan PRIVATE GTest::gtest_main)
    selvane_compile(selvane_tests_host_pool_tsan)
    target_compile_options(selvane_tests_host_pool_tsan PRIVATE -fsanitize=thread -g)
    target_link_options(selvane_tests_host_pool_tsan PRIVATE -fsanitize=thread)
    gtest_discover_tests(selvane_tests_host_pool_tsan TEST_PREFIX host.tsan. DISCOVERY_TIMEOUT 300)
  endif()
endif()

if(NOT SELVANE_COMMAND)
  return()
endif()

find_package(OpenEXR 3 CONFIG REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(PNG REQUIRED)
find_package(ZLIB REQUIRED)
selvane_test(host
  Workshop.cpp
  color/Interpret_test.cpp
  color/Light_test.cpp
  color/ProfileLight_test.cpp
  command/Colors_test.cpp
  command/CommandLine_test.cpp
  command/CommandTest.cpp
  command/Equalize_test.cpp
  command/FileColors_test.cpp
  command/Failures_test.cpp
  command/StandardOutput_test.cpp
  command/Borders_test.cpp
  command/LibraryTest.cpp
  command/Tonemap_test.cpp command/Suggestion_test.cpp
  command/Unconfined_test.cpp
  explain/Before_test.cpp
  explain/Light_test.cpp
  explain/Report_test.cpp
  job/HueCurve_test.cpp
  metadata/MetadataReader_test.cpp
  metadata/MetadataTable_test.cpp
  metadata/OutputMetadata_test.cpp
  metadata/Sample.cpp
  picture/Border_test.cpp
  picture/ExponentPlanes_test.cpp
  picture/HalfOfMemory_test.cpp
  picture/PngColor_test.cpp
  picture/ProfileMatch_test.cpp
  picture/Sliders_test.cpp
  read/Encoded.cpp
  read/FewBytes_test.cpp
  read/Kinds_test.cpp
  read/OpenExrReader_test.cpp
  read/PictureReader_test.cpp
  read/Confinement_test.cpp
  read/PictureParcel_test.cpp
  read/RadianceReader_test.cpp
  read/ReadingProcess_test.cpp
  read/VipsReader_test.cpp
  scene/Scene_test.cpp
  sheet/Sheet_test.cpp
  shell/Nearest_test.cpp
  shell/Shell_test.cpp
  write/Output_test.cpp
  write/OutputFile_test.cpp
  write/PictureWriter_test.cpp
  write/Resize_test.cpp)
target_link_libraries(selvane_tests_host PRIVATE selvane_host selvane_shell PkgConfig::VIPS PkgConfig::LCMS PkgConfig::HEIF PkgConfig::AVIF PkgConfig::JXL
                                                 PkgConfig::TIFF OpenEXR::OpenEXR PNG::PNG ZLIB::ZLIB PkgConfig::EXIV2 PkgConfig::SECCOMP
                                                 nlohmann_json::nlohmann_json)
target_compile_definitions(selvane_tests_host PRIVATE
  SELVANE_BINARY="$<TARGET_FILE:selvane>" SELVANE_SCENE="$<TARGET_FILE:selvane-scene>" SELVANE_COMMAND_VERSION="${PROJECT_VERSION}"
  SELVANE_COMMAND_PAGE="${PROJECT_SOURCE_DIR}/docs/command.md" SELVANE_METADATA_PAGE="${PROJECT_SOURCE_DIR}/docs/metadata.md")
add_dependencies(selvane_tests_host selvane selvane-scene)
if(NOT SELVANE_SANITIZE) # a sanitizer must be the first library that is loaded
  foreach(function vips_pngload_buffer vips_jpegsave_buffer fsync)
    add_library(selvane_crash_${function} MODULE host/command/Crash.cpp)
    target_compile_definitions(selvane_crash_${function} PRIVATE SELVANE_CRASHES_IN="${function}")
    selvane_compile(selvane_crash_${function})
    add_dependencies(selvane_tests_host selvane_crash_${function})
  endforeach()
  target_compile_definitions(selvane_tests_host PRIVATE SELVANE_CRASHES="${CMAKE_CURRENT_BINARY_DIR}/libselvane_crash_")
endif()
if(SELVANE_SANITIZE) # optimising these files takes minutes each, and they only compare
  target_compile_options(selvane_tests_host PRIVATE -O0 -g1)
  target_compile_definitions(selvane_tests_host PRIVATE SELVANE_SANITIZED)
endif()
# Many pictures and films, in a program of their own: it is built quickly.
add_executable(selvane_tests_host_many host/Workshop.cpp
  host/batch/Batch_test.cpp
  host/batch/Memory_test.cpp
  host/batch/OutputNames_test.cpp
  host/batch/Progress_test.cpp
  host/batch/Tasks_test.cpp
  host/sequence/Sequence_test.cpp)
target_link_libraries(selvane_tests_host_many PRIVATE selvane_host
  -Wl,--whole-archive selvane_test_support -Wl,--no-whole-archive PkgConfig::VIPS OpenEXR::OpenEXR PNG::PNG ZLIB::ZLIB
  GTest::gmock GTest::gtest_main)
get_target_property(definitions selvane_tests_host COMPILE_DEFINITIONS)
target_compile_definitions(selvane_tests_host_many PRIVATE ${definitions})
set_target_properties(selvane_tests_host_many PROPERTIES ENABLE_EXPORTS ON)
selvane_compile(selvane_tests_host_many)
selvane_build_quickly(selvane_tests_host_many)
add_dependencies(selvane_tests_host_many selvane)
gtest_discover_tests(selvane_tests_host_many TEST_PREFIX host. DISCOVERY_TIMEOUT 300)

# Several machines, played by several workers of this one.
foreach(queue parallel slurm)
  add_test(NAME desktop.${queue} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/host/sequence/${queue}.sh $<TARGET_FILE:selvane>)
  set_tests_properties(desktop.${queue} PROPERTIES LABELS desktop)
endforeach()
add_test(NAME host.demo COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/host/command/demo.sh ${PROJECT_SOURCE_DIR})

add_test(NAME host.rooms COMMAND /usr/bin/python3 ${CMAKE_CURRENT_SOURCE_DIR}/host/rooms.py ${PROJECT_SOURCE_DIR}/host)

# The system's Python, which has the packages. The page takes a browser.
set(explain_folder ${CMAKE_CURRENT_SOURCE_DIR}/host/explain)
add_test(NAME host.report COMMAND /usr/bin/python3 ${explain_folder}/report.py
  $<TARGET_FILE:selvane> $<TARGET_FILE:selvane-scene> ${PROJECT_SOURCE_DIR}/host/explain/report.schema.json)
add_test(NAME host.page COMMAND /usr/bin/python3 ${explain_folder}/page.py $<TARGET_FILE:selvane> $<TARGET_FILE:selvane-scene>)
set_tests_properties(host.page PROPERTIES LABELS desktop)
