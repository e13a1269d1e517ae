# The manual page selvane(3), made from the header.
find_program(SELVANE_AWK awk REQUIRED)
include(GNUInstallDirs)
set(manual ${CMAKE_CURRENT_BINARY_DIR}/selvane.3)
add_custom_command(OUTPUT ${manual}
  COMMAND ${SELVANE_AWK} -v version=${SELVANE_LIBRARY_VERSION} -f ${CMAKE_CURRENT_SOURCE_DIR}/manual.awk ${interface} > ${manual}
  DEPENDS manual.awk ${interface} VERBATIM)
add_custom_target(selvane_manual ALL DEPENDS ${manual})
install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
