# What an install carries: libselvane, shared and static, with its headers in include/; the engine with its link and its headers in
# include/selvane/; a CMake package, a pkg-config file for each of the two; the command with its manual page. All paths are relative, so
# that an install can be moved.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS Selvane EXPORT SelvaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/selvane
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/selvane)
install(TARGETS selvane_library selvane_static EXPORT SelvaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY lib/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN *.h PATTERN *.hpp)
install(EXPORT SelvaneTargets NAMESPACE Selvane:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvane)

configure_package_config_file(cmake/SelvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/SelvaneConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvane)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/SelvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/SelvaneConfig.cmake ${PROJECT_BINARY_DIR}/SelvaneConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvane)

file(RELATIVE_PATH SELVANE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" SELVANE_PC_TO_PREFIX "${SELVANE_PC_TO_PREFIX}")
foreach(name selvane selvane-engine)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

install(FILES LICENSE THIRD-PARTY-NOTICES DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The build folder is laid out like an install, so that the command is linked with one run path for both. Told of two, CMake would
# fill up the shorter one with colons, and the loader takes an empty element for the current folder.
if(TARGET selvane)
  file(RELATIVE_PATH SELVANE_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(selvane PROPERTIES INSTALL_RPATH "$ORIGIN/${SELVANE_BIN_TO_LIB}" BUILD_WITH_INSTALL_RPATH ON
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
  set_target_properties(Selvane selvane_library PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
  install(TARGETS selvane RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  configure_file(host/command/selvane.1.in ${PROJECT_BINARY_DIR}/selvane.1 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/selvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
