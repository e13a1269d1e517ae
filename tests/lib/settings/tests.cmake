selvane_lib_test(settings
  NumberText_test.cpp
  Presets_test.cpp
  Record_test.cpp
  SettingsApi_test.cpp
  SettingsText_test.cpp
  Settings_test.cpp
  ../../support/Allocations.cpp)
target_compile_definitions(selvane_tests_lib_settings PRIVATE SELVANE_PRESETS="${PROJECT_SOURCE_DIR}/lib/presets")
