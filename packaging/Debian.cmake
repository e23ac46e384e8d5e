# The Debian packages, made by cpack: vintrel, the command line alone, and vintrel-app. See build-debs.sh.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vintrel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_CONTACT ${VINTREL_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL cli app)
string(REPLACE "${PROJECT_VERSION}-" "" CPACK_DEBIAN_PACKAGE_RELEASE ${VINTREL_DEBIAN_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${VINTREL_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_CLI_PACKAGE_NAME vintrel)
set(CPACK_DEBIAN_CLI_PACKAGE_SUGGESTS "docker.io | docker-cli | docker-ce-cli, vintrel-app")
set(CPACK_COMPONENT_CLI_DESCRIPTION "find stray development processes and end them safely
Dev servers, test runners, browser helpers and local model servers often run
on long after the terminal that started them was closed. Vintrel lists them,
says what each one is, which project it belongs to and whether it is safe to
clean, and ends them when asked to.

This package holds the command line, which needs no desktop.")

# Of one version with the command line: both write the clean log, and one reads what settings the other stores. Without
# a session bus the application still scans and shows; it only has no notifications. Links reach it by way of the list of
# types that desktop-file-utils keeps whenever a launcher comes or goes, and of xdg-open.
set(CPACK_DEBIAN_APP_PACKAGE_NAME vintrel-app)
set(CPACK_DEBIAN_APP_PACKAGE_DEPENDS "vintrel (= ${VINTREL_DEBIAN_VERSION})")
set(CPACK_DEBIAN_APP_PACKAGE_RECOMMENDS
  "default-dbus-session-bus | dbus-session-bus, desktop-file-utils, qt6-wayland, xdg-utils")
set(CPACK_DEBIAN_APP_PACKAGE_SUGGESTS "docker.io | docker-cli | docker-ce-cli, xdg-desktop-portal")
set(CPACK_COMPONENT_APP_DESCRIPTION "watch for stray development processes from the desktop
Dev servers, test runners, browser helpers and local model servers often run
on long after the terminal that started them was closed. Vintrel lists them,
says what each one is, which project it belongs to and whether it is safe to
clean, and ends them when asked to.

This package holds the application, which watches from the status area, tells
of new strays, and shows running containers and what was cleaned.")

# Only a package has these; they belong to no plain installation.
foreach(names IN ITEMS "cli vintrel" "app vintrel-app")
  separate_arguments(names)
  list(GET names 0 component)
  list(GET names 1 package)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/copyright DESTINATION share/doc/${package}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.gz DESTINATION share/doc/${package}
    RENAME changelog.Debian.gz COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
