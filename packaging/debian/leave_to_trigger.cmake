# CPack gives a package with a shared library two scripts that run ldconfig. The trigger in it does that, for all packages
# of an installation at once, so the scripts go.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(place ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
    file(REMOVE_RECURSE ${place})
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${place} COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${place}/DEBIAN/triggers)
        file(REMOVE ${place}/DEBIAN/postinst ${place}/DEBIAN/postrm)
        execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${place} ${package}
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(REMOVE_RECURSE ${place})
endforeach()
