# Settings, their text and the presets.
target_sources(selvane_objects PRIVATE
  settings/NumberText.cpp
  settings/Presets.cpp
  settings/Settings.cpp
  settings/SettingsText.cpp
  api/SettingsApi.cpp
)

# toml++ as headers alone: the library needs no other one at run time. Its warnings are its makers' own.
find_path(SELVANE_TOMLPLUSPLUS toml++/toml.h REQUIRED)
target_include_directories(selvane_objects SYSTEM PRIVATE ${SELVANE_TOMLPLUSPLUS})

include(GNUInstallDirs)

# The presets in the order in which selvane_preset_name hands them out.
set(selvane_presets natural clear soft dramatic interior night flat)
set(SELVANE_PRESET_ROWS "")
foreach(preset ${selvane_presets})
  set(file ${CMAKE_CURRENT_SOURCE_DIR}/presets/${preset}.toml)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(READ ${file} text)
  string(APPEND SELVANE_PRESET_ROWS "    {\"${preset}\", R\"TOML(${text})TOML\"},\n")
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/selvane/presets)
endforeach()
configure_file(settings/PresetTexts.cpp.in settings/PresetTexts.cpp @ONLY)
target_sources(selvane_objects PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/settings/PresetTexts.cpp)
