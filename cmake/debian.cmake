# One Debian package with everything that is installed: `make deb`, or cpack in the build
# folder. It goes to /usr, whatever prefix the build was configured for.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME opal)
set(CPACK_PACKAGE_VENDOR "the Opal developers")
set(CPACK_PACKAGE_CONTACT "The Opal developers <opal@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The tool opal decides conjunctions of linear constraints over rationals and
integers, interprets SMT-LIB 2.6 with get-interpolants, and prints proofs that
opal-check-proof checks. The libraries turn the proofs of other solvers into
interpolants.")
# The libraries by what they are linked with; Python for opal-check-proof. Who compiles
# against the headers needs GMP's.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_DEPENDS python3)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libgmp-dev)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "z3, cvc5, graphviz")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Packages of programs that are linked with the libraries depend on this version.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian-pages.cmake)
# What follows an installation and a removal, unless they go to another root; cpack's own
# scripts would change the root of the machine.
foreach(script postinst postrm)
  file(WRITE ${PROJECT_BINARY_DIR}/${script}
    "#!/bin/sh\nset -e\n[ -n \"$DPKG_ROOT\" ] || ldconfig\n")
  file(CHMOD ${PROJECT_BINARY_DIR}/${script} PERMISSIONS OWNER_READ OWNER_WRITE
    OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  list(APPEND CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/${script})
endforeach()
include(CPack)
