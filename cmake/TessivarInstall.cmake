# SPDX-License-Identifier: Apache-2.0

# Installs library, headers, IDL, QoS profiles, CMake package and pkg-config file.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS tessivardds EXPORT TessivarDDSTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tessivar/types/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessivardds/idl
  FILES_MATCHING PATTERN *.idl)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/qos DESTINATION ${CMAKE_INSTALL_DATADIR}/tessivardds
  FILES_MATCHING PATTERN *.xml)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TessivarDDS)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TessivarDDSConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TessivarDDSConfig.cmake INSTALL_DESTINATION ${package_dir})
# Before 1.0 only the same minor version is compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TessivarDDSConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TessivarDDSConfig.cmake ${PROJECT_BINARY_DIR}/TessivarDDSConfigVersion.cmake
  DESTINATION ${package_dir})
install(EXPORT TessivarDDSTargets NAMESPACE TessivarDDS:: DESTINATION ${package_dir})

file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/tessivardds.pc.in ${PROJECT_BINARY_DIR}/tessivardds.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tessivardds.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
