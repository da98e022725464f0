# The Debian packages: cmake --workflow --preset deb
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CONTACT "${ONU_MNG_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev host)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libonu-mng${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "The shared library: service modules with message routing, per-ONU state
machines under supervision, typed values, traces and diagnostic commands.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libonu-mng-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "libedit-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, the static library, the port for Linux, the simulated board, and
files for CMake and pkg-config.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME olt-host)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION net)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_HOST_PACKAGE_RECOMMENDS bash-completion)
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst;${CMAKE_CURRENT_SOURCE_DIR}/debian/prerm;${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm")
set(CPACK_COMPONENT_HOST_DESCRIPTION "The example host: olt_host brings simulated ONUs into sync over OMCI,
captures and replays frames, and serves operators. olt_cli is their client.")

include(CPack)
