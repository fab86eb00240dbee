# SPDX-License-Identifier: Apache-2.0
# The Debian packages, one a component: `cpack` in a build of the preset "package" or "aarch64" makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME flashwatch)
set(CPACK_PACKAGE_VENDOR "flashwatch")
set(CPACK_PACKAGE_CONTACT "flashwatch developers <developers@flashwatch.invalid>")
set(CPACK_PACKAGE_HOMEPAGE_URL "")
set(CPACK_COMPONENTS_ALL service platform tester samples dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_SET_DESTDIR ON)  # for what is installed below /etc
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

# One commit makes one set of bytes: every file in the packages has the commit's time.
execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(commit_time $ENV{SOURCE_DATE_EPOCH})
elseif(NOT commit_time)
  set(commit_time 0)
endif()
set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging_time.cmake.in packaging_time.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/packaging_time.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/packaging_time.cmake)

# flashwatch_add_package(COMPONENT NAME SECTION section SUMMARY text DESCRIPTION text [DEPENDS text] [RECOMMENDS text]
#   [CONFIGURATION file...] [GROUPS name...] [USERS name...] [FOLDERS folder...] [UNITS unit...] [STOPPED_UNITS unit...]
#   [STATE folder...] [AT_RUNNING_SYSTEM command] [AT_REMOVAL command])
#   CONFIGURATION files are kept as the user changed them. FOLDERS exist while the package does. UNITS start with the
#   machine; STOPPED_UNITS are only stopped at removal. STATE goes when the package is purged.
macro(flashwatch_add_package component name)
  cmake_parse_arguments(PACKAGE "" "SECTION;SUMMARY;DESCRIPTION;DEPENDS;RECOMMENDS;AT_RUNNING_SYSTEM;AT_REMOVAL"
    "CONFIGURATION;GROUPS;USERS;FOLDERS;UNITS;STOPPED_UNITS;STATE" ${ARGN})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${PACKAGE_SECTION})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${PACKAGE_SUMMARY}\n${PACKAGE_DESCRIPTION}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${PACKAGE_DEPENDS}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_RECOMMENDS "${PACKAGE_RECOMMENDS}")

  set(control ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(scripts)
  if(PACKAGE_USERS)
    foreach(list GROUPS USERS FOLDERS UNITS STOPPED_UNITS STATE)
      list(JOIN PACKAGE_${list} " " ${list})
    endforeach()
    foreach(command AT_RUNNING_SYSTEM AT_REMOVAL)
      string(CONCAT ${command} "${PACKAGE_${command}}" ":")
      string(REGEX REPLACE "^(.+):$" "\\1" ${command} "${${command}}")
    endforeach()
    foreach(script postinst prerm postrm)
      configure_file(debian/${script}.in ${control}/${script} @ONLY FILE_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
      list(APPEND scripts ${control}/${script})
    endforeach()
  endif()
  if(PACKAGE_CONFIGURATION)
    list(JOIN PACKAGE_CONFIGURATION "\n" files)
    file(CONFIGURE OUTPUT ${control}/conffiles CONTENT "${files}\n" @ONLY)
    list(APPEND scripts ${control}/conffiles)
  endif()
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${scripts}")

  set(package_name ${name})
  configure_file(debian/changelog.in ${control}/changelog @ONLY)
  # Without the time of day, which file(ARCHIVE_CREATE) would write.
  execute_process(COMMAND gzip --best --no-name --stdout ${control}/changelog
    OUTPUT_FILE ${control}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${control}/changelog.gz debian/copyright ${PROJECT_SOURCE_DIR}/NOTICE
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endmacro()

flashwatch_add_package(service flashwatch SECTION admin
  SUMMARY "watcher of what applications write to flash"
  DESCRIPTION "Holds every application of the machine against a yearly budget of bytes written\nthrough the key-value storage, logs the figures and lets a tester read them."
  DEPENDS "flashwatch-platform (= ${PROJECT_VERSION}), passwd"
  CONFIGURATION /etc/flashwatch.json /etc/scid_mapping.json
  USERS flashwatch UNITS flashwatch.service STATE /var/lib/ara/per/flashwatch /run/ara/per/flashwatch)
flashwatch_add_package(platform flashwatch-platform SECTION admin
  SUMMARY "processes of the machine that flashwatch watches"
  DESCRIPTION "The persistency statistics service, the diagnostic manager (DoIP,\nUDS) and the machine manifest."
  DEPENDS "passwd"
  RECOMMENDS "dlt-daemon, systemd"
  CONFIGURATION /etc/ara/machine.json /etc/ara/dlt.conf
  GROUPS ara-per USERS ara-log ara-statistics ara-diagnostics FOLDERS /var/lib/ara/per
  UNITS persistency_statistics.service diagnostic_manager.service
  AT_RUNNING_SYSTEM "systemd-tmpfiles --create flashwatch-platform.conf || true; deb-systemd-invoke try-restart dlt-daemon.service || true"
  AT_REMOVAL "deb-systemd-invoke try-restart dlt-daemon.service || true")
flashwatch_add_package(tester flashwatch-read SECTION admin
  SUMMARY "tester's tools that show flashwatch's figures"
  DESCRIPTION "flashwatch_read reads through DoIP and UDS how much every application of a\nmachine has written, and shows it as a table; flashwatch_report makes a page\nof the machine's DLT log."
  DEPENDS "python3"
  RECOMMENDS "bash-completion")
flashwatch_add_package(samples flashwatch-samples SECTION admin
  SUMMARY "sample applications for flashwatch to watch"
  DESCRIPTION "Three applications that write through the key-value storage, each at its own\nrate. They start with 'systemctl start ara_sample@navigation', and likewise\nmedia and tripmeter."
  DEPENDS "flashwatch-platform (= ${PROJECT_VERSION}), passwd"
  USERS ara-sample STOPPED_UNITS ara_sample@navigation ara_sample@media ara_sample@tripmeter
  STATE /var/lib/ara/per/navigation /var/lib/ara/per/media /var/lib/ara/per/tripmeter
    /run/ara/per/navigation /run/ara/per/media /run/ara/per/tripmeter)
flashwatch_add_package(dev flashwatch-platform-dev SECTION libdevel
  SUMMARY "headers and CMake package of flashwatch's platform"
  DESCRIPTION "For applications that write through ara::per, log through\nara::log or talk through ara::com: find_package(flashwatch_platform)."
  DEPENDS "libsqlite3-dev, libdlt-dev, zlib1g-dev, pkg-config | pkgconf")
include(CPack)
