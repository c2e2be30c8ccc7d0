# Installs the header, the shared library, a CMake package (rkpix::rkpix) and a
# pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
install(TARGETS rkpix EXPORT rkpixTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/rkpix.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT rkpixTargets NAMESPACE rkpix:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/rkpix)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/rkpixConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/rkpixConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/rkpix)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/rkpixConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/rkpixConfig.cmake ${PROJECT_BINARY_DIR}/rkpixConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/rkpix)
# The pkg-config file finds the prefix from its own place, so the tree can move.
file(RELATIVE_PATH RKPIX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/rkpix.pc.in ${PROJECT_BINARY_DIR}/rkpix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/rkpix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
