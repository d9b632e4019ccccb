# SPDX-License-Identifier: MIT
# Debian packages from the build: `cpack -G DEB` in the build folder makes
#   libkvmess0      the shared libraries (their translations are compiled in),
#   libkvmess-dev   headers, CMake package, pkg-config file,
#   kvmess-desktop  the desktop and console hosts, menu entry, icons, metainfo.
# Their library dependencies come from dpkg-shlibdeps.

# What every package carries: the license as a machine-readable copyright file
# and the changelog, compressed as Debian wants it.
set(KVMESS_PACKAGE_NAMES runtime libkvmess0 dev libkvmess-dev desktop kvmess-desktop)
set(kvmess_package_files ${CMAKE_BINARY_DIR}/packaging)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.in ${kvmess_package_files}/changelog @ONLY)
find_program(KVMESS_GZIP gzip REQUIRED)
foreach(file changelog)
    execute_process(COMMAND ${KVMESS_GZIP} -9nf -k ${kvmess_package_files}/${file})
endforeach()
foreach(page kvmess-desktop.1 kvmess-console.1)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/${page} ${kvmess_package_files}/${page} COPYONLY)
    execute_process(COMMAND ${KVMESS_GZIP} -9nf ${kvmess_package_files}/${page})
    install(FILES ${kvmess_package_files}/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT desktop)
endforeach()
while(KVMESS_PACKAGE_NAMES)
    list(POP_FRONT KVMESS_PACKAGE_NAMES component package)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${kvmess_package_files}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endwhile()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvmess)
set(CPACK_PACKAGE_VENDOR "The KvMess developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime dev desktop)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "KvMess developers <kvmess@example.org>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://kvmess.example.org/")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# dpkg-shlibdeps finds our own libraries among the package's files.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/src)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkvmess0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The linker cache is refreshed by dpkg's trigger.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"messaging module of a desktop mapping application
KvMess gives a host application one-to-one and team chat with texts,
pictures and files, friend requests, a company directory, notices and
unread counters, over one WebSocket to a message server.

This package holds the shared libraries, with their translations.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkvmess-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
# What the CMake package and the headers ask of Qt when a host builds.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "qtbase5-dev, libqt5websockets5-dev, libqt5svg5-dev, qtwebengine5-dev")
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION
"messaging module of a desktop mapping application - development files
KvMess gives a host application one-to-one and team chat with texts,
pictures and files, friend requests, a company directory, notices and
unread counters, over one WebSocket to a message server.

This package holds the headers, the CMake package and the pkg-config file
for building a host that embeds the module.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME kvmess-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION net)
set(CPACK_COMPONENT_DESKTOP_DEPENDS runtime)
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION
"messaging panel docked beside a map area
KvMess Desktop shows the KvMess messaging panel beside a map area: chat
with texts, pictures and files, friend requests, the company directory
and notices. Messages in the background raise desktop notifications and
the tray icon shows the unread count.

The package also holds kvmess-console, a host of the module without
windows that reads commands and writes JSON lines.")

include(CPack)
