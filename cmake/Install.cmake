# Installs the headers, the shared library and a CMake package: find_package(ORVA CONFIG), target ORVA::ORVA.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(orva_package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/ORVA)

install(DIRECTORY include/ORVA DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ORVA EXPORT ORVATargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT ORVATargets NAMESPACE ORVA:: DESTINATION ${orva_package_directory})

configure_package_config_file(cmake/ORVAConfig.cmake.in ORVAConfig.cmake
    INSTALL_DESTINATION ${orva_package_directory})
write_basic_package_version_file(ORVAConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/ORVAConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ORVAConfigVersion.cmake
    DESTINATION ${orva_package_directory})
