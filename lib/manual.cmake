# The manual page selvane(3), made from the header.
find_program(SELVANE_AWK awk REQUIRED)
file(STRINGS include/selvane.h version_lines REGEX "^#define SELVANE_VERSION_[A-Z]+ [0-9]+$")
list(TRANSFORM version_lines REPLACE "^.* " "")
list(JOIN version_lines "." version)
set(manual ${CMAKE_CURRENT_BINARY_DIR}/selvane.3)
add_custom_command(OUTPUT ${manual}
  COMMAND ${SELVANE_AWK} -v version=${version} -f ${CMAKE_CURRENT_SOURCE_DIR}/manual.awk ${CMAKE_CURRENT_SOURCE_DIR}/include/selvane.h >${manual}
  DEPENDS manual.awk include/selvane.h VERBATIM)
add_custom_target(selvane_manual ALL DEPENDS ${manual})
include(GNUInstallDirs)
install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
