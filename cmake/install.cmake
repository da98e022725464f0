# Installs the library, the seam and the ports as the package onu_mng, for find_package(onu_mng).
include(CMakePackageConfigHelpers)

install(TARGETS onu_mng_lib onu_mng_platform_seam onu_mng_platform_posix onu_mng_platform_sim onu_mng_platform_sim_main
                onu_mng_platform_sim_new EXPORT onu_mng
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR}/onu_mng)
set_target_properties(onu_mng_platform_posix PROPERTIES EXPORT_NAME platform_posix)
set_target_properties(onu_mng_platform_sim PROPERTIES EXPORT_NAME platform_sim)
set_target_properties(onu_mng_platform_seam PROPERTIES EXPORT_NAME platform_seam)
install(EXPORT onu_mng NAMESPACE onu_mng:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/onu_mng
        FILE onu_mng-targets.cmake)
install(DIRECTORY onu_mng_lib onu_mng_platform DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h"
        PATTERN template EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/generated/onu_mng_lib/onu_mng_version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/onu_mng_lib)

write_basic_package_version_file(onu_mng-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES cmake/onu_mng-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/onu_mng-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/onu_mng)
