# Provides GTest::gtest and GTest::gtest_main for the test suites.
#
# A native build uses the installed GoogleTest. A cross build (armhf) has no
# GoogleTest for its target installed, so it compiles the source that Debian's
# `googletest` package ships under /usr/src/googletest with the cross compiler.

find_package(GTest QUIET)
if(GTest_FOUND)
  return()
endif()

set(VK_SONY_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH
    "GoogleTest source tree, built with the project when no GoogleTest is installed for the target")
if(NOT EXISTS ${VK_SONY_GTEST_SOURCE_DIR}/googletest/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest was not found for this target and no source tree stands at "
                      "VK_SONY_GTEST_SOURCE_DIR (${VK_SONY_GTEST_SOURCE_DIR}); install Debian's googletest package")
endif()

set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${VK_SONY_GTEST_SOURCE_DIR}/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# GoogleTest defines GTest::gtest and GTest::gtest_main itself. Its headers are
# used as system headers, like an installed copy, so that -Werror stays ours.
foreach(target gtest gtest_main)
  get_target_property(_includes ${target} INTERFACE_INCLUDE_DIRECTORIES)
  set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${_includes}")
endforeach()
