# Install rules and Debian packages (cpack).
#
# Layout under the install prefix:
#   lib/vk-sony/vk-sony          the executable
#   lib/vk-sony/CrAdapter/       the SDK's adapter plug-ins (empty directory in
#                                a simulator build); the bridge refuses a camera
#                                run unless it stands beside the real executable
#   lib/vk-sony/libCr_Core.so*   vendor SDK build only; found through the
#                                executable's $ORIGIN run path
#   bin/vk-sony                  symbolic link to ../lib/vk-sony/vk-sony (the
#                                adapter check follows /proc/self/exe, so the
#                                link may be called from anywhere)
#   share/man/man1/vk-sony.1.gz  the manual page
#   share/doc/<package>/         README, protocol and deployment guides
#
# `cpack` (in the build directory) makes one .deb for the build's target
# architecture: `vk-sony-sim` from a simulator build, `vk-sony` from a vendor
# SDK build. The vendor's files go only into packages built from a vendor SDK
# build, on a machine that holds the SDK.

include(GNUInstallDirs)

# GNUInstallDirs puts a multiarch directory under /usr; the bridge's private
# directory is the same on every architecture.
set(VK_SONY_INSTALL_DIR lib/vk-sony)

install(TARGETS vk-sony RUNTIME DESTINATION ${VK_SONY_INSTALL_DIR})
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  file(CREATE_LINK ../${VK_SONY_INSTALL_DIR}/vk-sony
       \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vk-sony\" SYMBOLIC)
  message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vk-sony -> ../${VK_SONY_INSTALL_DIR}/vk-sony\")")

if(VK_SONY_SDK_DIR)
  set_target_properties(vk-sony PROPERTIES INSTALL_RPATH "$ORIGIN")
  # The library and, if it is a link, the links and file it resolves to.
  install(CODE "file(INSTALL \"${VK_SONY_SDK_LIBRARY}\" FOLLOW_SYMLINK_CHAIN
                 DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${VK_SONY_INSTALL_DIR}\")")
  install(DIRECTORY ${VK_SONY_SDK_ADAPTER_PARENT}/CrAdapter DESTINATION ${VK_SONY_INSTALL_DIR}
          USE_SOURCE_PERMISSIONS)
  set(_package vk-sony)
  set(_other_package vk-sony-sim)
else()
  install(DIRECTORY DESTINATION ${VK_SONY_INSTALL_DIR}/CrAdapter)
  set(_package vk-sony-sim)
  set(_other_package vk-sony)
endif()

# The manual page, with the version filled in, compressed as Debian installs
# manual pages.
configure_file(docs/vk-sony.1.in ${PROJECT_BINARY_DIR}/vk-sony.1 @ONLY)
find_program(VK_SONY_GZIP gzip)
if(VK_SONY_GZIP)
  add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/vk-sony.1.gz
    COMMAND ${VK_SONY_GZIP} -9n -c ${PROJECT_BINARY_DIR}/vk-sony.1 > ${PROJECT_BINARY_DIR}/vk-sony.1.gz
    DEPENDS ${PROJECT_BINARY_DIR}/vk-sony.1
    COMMENT "Compressing the manual page")
  add_custom_target(vk_man_page ALL DEPENDS ${PROJECT_BINARY_DIR}/vk-sony.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/vk-sony.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
else()
  install(FILES ${PROJECT_BINARY_DIR}/vk-sony.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

install(FILES README.md docs/protocol.md docs/deploy.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vk-sony)

# ---- Debian package ----

# Debian's architecture name for the compiler's target (armhf for the cross
# build), and a version that sorts "rc" releases before the release itself.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpmachine
                OUTPUT_VARIABLE _gnu_type OUTPUT_STRIP_TRAILING_WHITESPACE)
find_program(VK_SONY_DPKG_ARCHITECTURE dpkg-architecture)
if(VK_SONY_DPKG_ARCHITECTURE AND _gnu_type)
  execute_process(COMMAND ${VK_SONY_DPKG_ARCHITECTURE} -t ${_gnu_type} -qDEB_HOST_ARCH
                  OUTPUT_VARIABLE _deb_arch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
string(REGEX REPLACE "([0-9])(alpha|beta|rc)" "\\1~\\2" _deb_version "${VK_SONY_VERSION}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${_package})
set(CPACK_PACKAGE_VERSION ${VK_SONY_VERSION})
set(CPACK_PACKAGE_CONTACT "vk-sony maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "headless bridge that puts one camera under a parent's remote control")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_VERSION ${_deb_version})
set(CPACK_DEBIAN_PACKAGE_SECTION video)
if(_deb_arch)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${_deb_arch})
endif()
if(CMAKE_CROSSCOMPILING)
  set(_vendor_files "")
  set(_vendor_lib_dirs "")
  if(VK_SONY_SDK_DIR)
    file(GLOB_RECURSE _vendor_files ${VK_SONY_SDK_ADAPTER_PARENT}/CrAdapter/*.so*)
    list(PREPEND _vendor_files ${VK_SONY_SDK_LIBRARY})
    list(JOIN _vendor_files " " _vendor_files)
    set(_vendor_lib_dirs -l${_sdk_lib_dir})
  endif()
  configure_file(cmake/package_depends.cmake.in ${PROJECT_BINARY_DIR}/package_depends.cmake @ONLY)
  set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/package_depends.cmake)
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS /usr/${VK_SONY_INSTALL_DIR})
endif()
set(CPACK_DEBIAN_PACKAGE_CONFLICTS ${_other_package})
set(CPACK_DEBIAN_PACKAGE_REPLACES ${_other_package})
if(VK_SONY_SDK_DIR)
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "vk-sony is started by a parent application, one process per camera,
and exchanges plain text lines with it: commands on standard input, camera
state, replies and lifecycle events on standard output. This package holds
the bridge built against the camera maker's SDK, with the SDK's library and
adapter plug-ins; it must not be redistributed.")
else()
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "vk-sony is started by a parent application, one process per camera,
and exchanges plain text lines with it: commands on standard input, camera
state, replies and lifecycle events on standard output. This package holds
the bridge built against the project's simulated camera SDK: it plays
simulated cameras (for the parent's development and tests) and reaches no
real camera.")
endif()
include(CPack)

if(VK_SONY_BUILD_TESTS AND NOT VK_SONY_SDK_DIR)
  find_program(VK_SONY_DPKG_DEB dpkg-deb)
  if(VK_SONY_DPKG_DEB)
    add_test(NAME Package.Deb
             COMMAND ${CMAKE_COMMAND} -DCPACK=${CMAKE_CPACK_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR}
                     -DWORK_DIR=${PROJECT_BINARY_DIR}/package-test
                     "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
                     -P ${PROJECT_SOURCE_DIR}/cmake/package_test.cmake)
    set_tests_properties(Package.Deb PROPERTIES TIMEOUT 300)
  else()
    message(STATUS "vk-sony: dpkg-deb not found, the package test is not added")
  endif()
endif()
