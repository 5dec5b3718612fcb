include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(opal_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/opal)

# --- the libraries, static and shared; both kinds export targets of the same names, and
# opalConfig.cmake includes one of the two files
set(opal_parts engine)
if(OPAL_BUILD_HOST)
  list(APPEND opal_parts host)
endif()
foreach(part IN LISTS opal_parts)
  install(TARGETS opal_${part} EXPORT opal-static-targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  if(OPAL_BUILD_SHARED)
    install(TARGETS opal_${part}_shared EXPORT opal-shared-targets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
endforeach()
if(TARGET opal_capi)
  # In both sets: with either kind of the other libraries, C has this one.
  install(TARGETS opal_capi EXPORT opal-static-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(TARGETS opal_capi EXPORT opal-shared-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES opal/capi/opal.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/opal/capi)
  # Where Debian's Python looks when the prefix is /usr; it looks for the library above.
  install(DIRECTORY python/opal DESTINATION lib/python3/dist-packages
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed")
endif()
install(EXPORT opal-static-targets NAMESPACE opal:: DESTINATION ${opal_package_dir})
if(OPAL_BUILD_SHARED)
  install(EXPORT opal-shared-targets NAMESPACE opal:: DESTINATION ${opal_package_dir})
endif()

# --- the headers
install(FILES opal/version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/opal)
set(opal_header_parts engine)
if(OPAL_BUILD_HOST)
  list(APPEND opal_header_parts host)
endif()
foreach(part IN LISTS opal_header_parts)
  file(STRINGS opal/layers.txt rooms REGEX "^${part} ")
  foreach(room IN LISTS rooms)
    string(REGEX MATCH "opal/[a-z/]+" folder "${room}")
    file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
    list(FILTER headers EXCLUDE REGEX "/session_impl\\.h$")
    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
  endforeach()
endforeach()

# --- how other builds find them
configure_package_config_file(cmake/opalConfig.cmake.in
  ${PROJECT_BINARY_DIR}/opalConfig.cmake INSTALL_DESTINATION ${opal_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/opalConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/opalConfig.cmake
  ${PROJECT_BINARY_DIR}/opalConfigVersion.cmake cmake/FindGMP.cmake
  DESTINATION ${opal_package_dir})
# The prefix is relative to the file itself, so that it is right wherever the tree is.
file(RELATIVE_PATH opal_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
set(opal_pc_files opal.pc)
if(OPAL_BUILD_HOST)
  list(APPEND opal_pc_files opal-host.pc)
endif()
if(TARGET opal_capi)
  list(APPEND opal_pc_files opal-c.pc)
endif()
foreach(file IN LISTS opal_pc_files)
  configure_file(cmake/${file}.in ${PROJECT_BINARY_DIR}/${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${file}
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# --- the tool, the checker of its proofs, their manual pages and completions
if(OPAL_BUILD_TOOL)
  install(TARGETS opal RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(PROGRAMS checkers/opal-check-proof DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The program looks for them in ../share/opal.
  install(DIRECTORY checkers DESTINATION share/opal
    FILES_MATCHING PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)
  install(FILES docs/opal.1 docs/opal-check-proof.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES tool/completions/opal.bash RENAME opal
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES tool/completions/_opal
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()

install(FILES NEWS.md README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES LICENSE RENAME copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
