# The SDK: a CMake package (find_package(Tessera) with imported targets
# Tessera::engine, Tessera::platform_core, ...) and a pkg-config file, next to
# the libraries, headers, plug-ins and program that the folders install.
include(CMakePackageConfigHelpers)

install(EXPORT TesseraTargets NAMESPACE Tessera:: DESTINATION ${TESSERA_INSTALL_CMAKEDIR} COMPONENT sdk)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TesseraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TesseraConfig.cmake
  INSTALL_DESTINATION ${TESSERA_INSTALL_CMAKEDIR}
  PATH_VARS TESSERA_INSTALL_INCLUDEDIR TESSERA_INSTALL_PLUGINDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TesseraConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TesseraConfig.cmake ${PROJECT_BINARY_DIR}/TesseraConfigVersion.cmake
  DESTINATION ${TESSERA_INSTALL_CMAKEDIR} COMPONENT sdk)

# pkg-config: paths relative to the file, so that the prefix can move.
set(TESSERA_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH TESSERA_PREFIX_FROM_PKGCONFIGDIR
  ${CMAKE_INSTALL_PREFIX}/${TESSERA_PKGCONFIGDIR} ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tessera.pc.in ${PROJECT_BINARY_DIR}/tessera.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tessera.pc DESTINATION ${TESSERA_PKGCONFIGDIR} COMPONENT sdk)
