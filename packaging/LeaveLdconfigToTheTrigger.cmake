# Run by cpack when the packages are made: it gives each library scripts that call ldconfig, which is
# the work of the trigger that the packages have.
foreach(package ${CPACK_PACKAGE_FILES})
    get_filename_component(name ${package} NAME)
    if(NOT name MATCHES "^lib.*[0-9]_")
        continue()
    endif()
    set(folder ${CPACK_TEMPORARY_DIRECTORY}-control/${name})
    file(REMOVE_RECURSE ${folder})
    file(MAKE_DIRECTORY ${folder})
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
