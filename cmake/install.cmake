include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(opal_targets opal_engine)
if(OPAL_BUILD_TOOL)
  list(APPEND opal_targets opal_host)
  install(TARGETS opal RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(PROGRAMS tools/opal-check-proof DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The script looks for its package in ../share/opal.
  install(DIRECTORY tools/opal_check_proof DESTINATION share/opal
    FILES_MATCHING PATTERN "*.py")
  install(FILES docs/opal.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(DIRECTORY opal/host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/opal
    FILES_MATCHING PATTERN "*.h")
endif()
install(TARGETS ${opal_targets} EXPORT opalTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES opal/version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/opal)
install(DIRECTORY opal/utils opal/interfaces opal/la
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/opal FILES_MATCHING PATTERN "*.h")
install(EXPORT opalTargets NAMESPACE opal::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/opal)
configure_package_config_file(cmake/opalConfig.cmake.in
  ${CMAKE_BINARY_DIR}/opalConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/opal)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/opalConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/opalConfig.cmake
  ${CMAKE_BINARY_DIR}/opalConfigVersion.cmake cmake/FindGMP.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/opal)
# Relative to the file itself, so that it is right wherever the tree is installed.
file(RELATIVE_PATH opal_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/opal.pc.in ${CMAKE_BINARY_DIR}/opal.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/opal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
