# Debian packages, made by cpack -G DEB: liborva1, which programs run with (component Runtime), and liborva-dev, which they
# are built with (component Development). ./dev package makes and checks them.
if(NOT PROJECT_SOURCE_DIR STREQUAL CMAKE_SOURCE_DIR OR APPLE OR ORVA_STATIC)
    return()
endif()

set(ORVA_PACKAGE_MAINTAINER "The libORVA authors <liborva@debian.invalid>" CACHE STRING
    "Who answers for the packages: a name, and an address in angle brackets")

set(debian ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian)
set(runtime_package liborva${PROJECT_VERSION_MAJOR})
set(development_package liborva-dev)

# What Debian wants to be told in each package. Only a component by itself takes it along.
find_program(ORVA_GZIP gzip)
if(ORVA_GZIP)
    string(TIMESTAMP orva_package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(${debian}/changelog.in packaging/changelog @ONLY)
    set(changelog ${CMAKE_CURRENT_BINARY_DIR}/packaging/changelog)
    execute_process(COMMAND ${ORVA_GZIP} -9nc ${changelog} OUTPUT_FILE ${changelog}.gz COMMAND_ERROR_IS_FATAL ANY)
    foreach(component IN ITEMS Runtime Development)
        string(TOLOWER ${component} name)
        install(FILES ${debian}/copyright ${changelog}.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${name}_package}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    endforeach()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL Runtime Development)
# The prefix is that of the build, since gdb finds a script by the place of its library.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_NAME orva)
set(CPACK_PACKAGE_CONTACT "${ORVA_PACKAGE_MAINTAINER}")
# The one that CPack takes for none: each package has a summary of its own in its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_POST_BUILD_SCRIPTS ${debian}/leave_to_trigger.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debian}/triggers)
file(READ ${debian}/runtime.txt CPACK_DEBIAN_RUNTIME_DESCRIPTION)
# A program needs a library that is not older than the one that it was linked with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libboost-thread-dev (>= 1.72), libboost-chrono-dev (>= 1.72)")
file(READ ${debian}/development.txt CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION)

include(CPack)
