# Three packages of six components, as deb and as rpm.
set(CPACK_GENERATOR DEB RPM)
set(CPACK_PACKAGE_NAME kura)
set(CPACK_PACKAGE_VENDOR "Kura developers")
set(CPACK_PACKAGE_CONTACT "Kura developers <kura@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Self-diagnosis and care engine of a television")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL library development simulator examples man completions)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_LIBRARY_GROUP library)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP development)
foreach(COMPONENT SIMULATOR EXAMPLES MAN COMPLETIONS)
    set(CPACK_COMPONENT_${COMPONENT}_GROUP command)
endforeach()

set(LIBRARY_TEXT "Reads a map of known problems, asks the set's engine which of them are
present, remembers what is unfixed and applies solutions.")
set(DEVELOPMENT_TEXT "Headers, pkg-config and CMake files for the programs that host
libkura_parser.so.")
set(COMMAND_TEXT "A host on a simulated set: diagnoses, repairs and inspects a television that
lives in a folder, and runs hosts of your own on it.")
foreach(GROUP LIBRARY DEVELOPMENT COMMAND)
    set(CPACK_DEBIAN_${GROUP}_DESCRIPTION "${${GROUP}_TEXT}")
    set(CPACK_RPM_${GROUP}_PACKAGE_DESCRIPTION "${${GROUP}_TEXT}")
endforeach()

# --- deb ---

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The name of the library's file has no version: it opens itself by that name. The packages therefore belong together
# in exactly one version, said here, since the tools that compute dependencies go by versions in names.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(SAME_VERSION "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libkura-parser)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkura-parser-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libkura-parser ${SAME_VERSION}, libboost-thread-dev, libglib2.0-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "kura ${SAME_VERSION}, pkg-config")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME kura)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "libkura-parser ${SAME_VERSION}, bubblewrap, dbus-daemon")

# --- rpm ---

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE "not stated")
set(CPACK_RPM_PACKAGE_GROUP Development/Libraries)
# These belong to the system's own packages.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/lib/pkgconfig /usr/lib/cmake /usr/share/man /usr/share/man/man1 /usr/share/man/man3 /usr/share/man/man5
    /usr/share/bash-completion /usr/share/bash-completion/completions /usr/share/fish
    /usr/share/fish/vendor_completions.d /usr/share/zsh /usr/share/zsh/vendor-completions)
set(CPACK_RPM_LIBRARY_PACKAGE_NAME libkura-parser)
set(CPACK_RPM_DEVELOPMENT_PACKAGE_NAME libkura-parser-devel)
set(CPACK_RPM_DEVELOPMENT_PACKAGE_REQUIRES "libkura-parser = ${PROJECT_VERSION}, boost-devel, glib2-devel")
set(CPACK_RPM_COMMAND_PACKAGE_NAME kura)
set(CPACK_RPM_COMMAND_PACKAGE_REQUIRES "libkura-parser = ${PROJECT_VERSION}, bubblewrap, dbus-daemon")

# --- What Debian wants of every package ---

foreach(PAIR library:libkura-parser development:libkura-parser-dev simulator:kura)
    string(REPLACE ":" ";" PAIR ${PAIR})
    list(GET PAIR 0 COMPONENT)
    list(GET PAIR 1 PACKAGE)
    install(FILES debian/copyright DESTINATION share/doc/${PACKAGE} COMPONENT ${COMPONENT})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION share/doc/${PACKAGE} COMPONENT ${COMPONENT})
endforeach()
add_custom_command(OUTPUT changelog.gz
    COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog > changelog.gz
    DEPENDS debian/changelog VERBATIM)
add_custom_target(kura_changelog ALL DEPENDS changelog.gz)

include(CPack)
