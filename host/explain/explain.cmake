# The page of `selvane explain` and the report of a render. Frame, style and script of the page and the schema of the report are files of
# their own, compiled in.
foreach(text SCHEMA:report.schema.json FRAME:page/explain.html STYLE:page/explain.css SCRIPT:page/explain.js)
  string(REGEX MATCH "^([A-Z]+):(.*)$" _ ${text})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/${CMAKE_MATCH_2})
  file(READ ${CMAKE_CURRENT_LIST_DIR}/${CMAKE_MATCH_2} SELVANE_TEXT_${CMAKE_MATCH_1})
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/Texts.cpp.in ${CMAKE_CURRENT_BINARY_DIR}/explain/Texts.cpp @ONLY)

target_sources(selvane_host PRIVATE
  explain/AreaMean.cpp
  explain/Explain.cpp
  explain/Explanation.cpp
  explain/JobReport.cpp
  explain/Jpeg.cpp
  explain/Light.cpp
  explain/Page.cpp
  explain/PlainStops.cpp
  explain/ReportFile.cpp
  ${CMAKE_CURRENT_BINARY_DIR}/explain/Texts.cpp)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/report.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/selvane)
