# Installs the library (component Runtime), and what programs are built with (component Development): the headers, a CMake
# package with the target ORVA::ORVA for find_package(ORVA CONFIG), and orva.pc for pkg-config.
include(CMakePackageConfigHelpers)

set(orva_package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/ORVA)

install(DIRECTORY include/ORVA DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)
install(TARGETS ORVA EXPORT ORVATargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(EXPORT ORVATargets NAMESPACE ORVA:: DESTINATION ${orva_package_directory} COMPONENT Development)

configure_package_config_file(cmake/ORVAConfig.cmake.in ORVAConfig.cmake
    INSTALL_DESTINATION ${orva_package_directory})
write_basic_package_version_file(ORVAConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/ORVAConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ORVAConfigVersion.cmake
    DESTINATION ${orva_package_directory} COMPONENT Development)

# Boost has no file for pkg-config, so orva.pc names what is needed of it: in an archive's Libs, for the program links it,
# and in a shared library's Libs.private.
set(orva_pc_cflags "-I\${includedir} -pthread")
foreach(directory IN LISTS Boost_INCLUDE_DIRS)
    if(NOT directory IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
        string(APPEND orva_pc_cflags " -I${directory}")
    endif()
endforeach()
set(orva_pc_boost "-lboost_thread -lboost_chrono")
foreach(directory IN LISTS Boost_LIBRARY_DIRS)
    if(NOT directory IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
        string(PREPEND orva_pc_boost "-L${directory} ")
    endif()
endforeach()
set(orva_pc_libs "-L\${libdir} -lORVA -pthread")
set(orva_pc_libs_private "")
if(ORVA_STATIC)
    string(APPEND orva_pc_libs " ${orva_pc_boost}")
else()
    set(orva_pc_libs_private "${orva_pc_boost}")
endif()

# The file tells places from its own, so that an installed tree may be moved; but for those that were given as absolute.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(orva_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH orva_pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    set(orva_pc_prefix "\${pcfiledir}/${orva_pc_prefix}")
    string(REGEX REPLACE "/$" "" orva_pc_prefix "${orva_pc_prefix}")
endif()
foreach(place IN ITEMS LIBDIR INCLUDEDIR)
    set(orva_pc_${place} "${CMAKE_INSTALL_${place}}")
    if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_${place}}")
        string(PREPEND orva_pc_${place} "\${prefix}/")
    endif()
endforeach()
configure_file(cmake/orva.pc.in orva.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
