# The Debian packages that cpack makes of the components. scripts/package-check calls it as packages
# are meant to be built: with the prefix /usr and the flags of the distribution.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dataaccessservice)
set(CPACK_PACKAGE_VENDOR "The developers of the data access service")
set(CPACK_PACKAGE_CONTACT "The developers of the data access service <das@packages.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_OUTPUT_FILE_PREFIX packages)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/LeaveLdconfigToTheTrigger.cmake)

# das_package(COMPONENT NAME SECTION SUMMARY TEXT [DEPENDS...])
set(about "The service owns the SQLite database of a desk telephone: other services
read and write settings, keys, contacts and calls by XML requests.")
macro(das_package component name section summary text)
    string(TOUPPER ${component} upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${about}\n.\n${text}")
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${about}\n.\n${text}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    string(REPLACE ";" ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARGN}")
    set(documents ${CMAKE_CURRENT_BINARY_DIR}/${name})
    set(package ${name})
    configure_file(debian/changelog.in ${documents}/changelog @ONLY)
    execute_process(COMMAND gzip -9nf ${documents}/changelog)
    install(FILES ${documents}/changelog.gz debian/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

set(same "(= ${PROJECT_VERSION})")
das_package(platform libdasplatform0 libs "data access service of a telephone: platform"
    "This package has the platform library: log, storage, XML and the classes\nof the framework.")
das_package(service libdataaccessservice0 libs "data access service of a telephone: library"
    "This package has the shared library that a service framework loads."
    "libdasplatform0 ${same}")
das_package(development libdataaccessservice-dev libdevel
    "data access service of a telephone: development files"
    "This package has the headers, and what pkg-config and CMake need to find them."
    "libdataaccessservice0 ${same}" "libdasplatform0 ${same}")
das_package(tools das utils "data access service of a telephone: host program"
    "This package has das, which hosts the service on a machine without the\ntelephone's framework, and its units for systemd."
    "libdataaccessservice0 ${same}")
if(EXISTS ${python_client})
    das_package(python python3-dasclient python "data access service of a telephone: client for Python"
        "This package has a client for programs in Python that talk to a running host,\nand das-contacts and das-report, which bring contacts in and out and show a\ntelephone on a page."
        "python3:any" "python3-jinja2" "python3-pygal" "python3-vobject")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
endif()
foreach(library PLATFORM SERVICE)
    set(CPACK_DEBIAN_${library}_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers)
endforeach()
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS systemd)
set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA
    ${scripts}/das/postinst ${scripts}/das/prerm ${scripts}/das/postrm
    ${scripts}/das/conffiles)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${scripts}/python/postinst ${scripts}/python/prerm)
include(CPack)
