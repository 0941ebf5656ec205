# What `cmake --install` puts in place: the library with its header, the tessel command, a pkg-config file and a
# CMake package (find_package(Tessel) gives Tessel::tessel). Both descriptions find the prefix relative to where
# they lie, so an installed tree can be moved, or installed with --prefix somewhere else than configured.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_include_directories(tessel PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS tessel EXPORT TesselTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/tessel.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(TARGET tessel_cli)
  # The command finds the library beside it, in ../lib, wherever the tree lies.
  set_target_properties(tessel_cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS tessel_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(TESSEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
install(EXPORT TesselTargets NAMESPACE Tessel:: DESTINATION ${TESSEL_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TesselConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/TesselConfig.cmake
  INSTALL_DESTINATION ${TESSEL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/TesselConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/TesselConfig.cmake ${PROJECT_BINARY_DIR}/package/TesselConfigVersion.cmake
  DESTINATION ${TESSEL_CMAKE_DIR})

# pkg-config: the prefix as seen from the .pc file's own directory (libdir/pkgconfig), one ".." per level.
set(TESSEL_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH TESSEL_PC_TO_PREFIX /root/${TESSEL_PC_DIR} /root)
string(REGEX REPLACE "/$" "" TESSEL_PC_TO_PREFIX "${TESSEL_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/tessel.pc.in ${PROJECT_BINARY_DIR}/package/tessel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/tessel.pc DESTINATION ${TESSEL_PC_DIR})
