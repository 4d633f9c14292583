# Checks that the house reads top to bottom: each folder of the bridge
# includes only its own headers and the chief headers of the folders below
# it. Run as `cmake -DSOURCE_DIR=<repo> -P cmake/check_layers.cmake`; prints
# every offending include and fails when there is one.
#
# Tests (*_test.cpp, *test_support.h) may also include any header of a lower
# folder, the simulator (sim/) and the shared test helpers (tests/support/);
# they too never include a higher folder. Product code includes neither sim/
# nor tests/: the SDK is reached through its own headers only.

# Lowest first, with each folder's chief header.
set(floors properties base device protocol connection app)
set(chief_properties properties/property_table.h)
set(chief_base base/base.h)
set(chief_device device/camera_device.h)
set(chief_protocol protocol/protocol.h)
set(chief_connection connection/connection.h)
set(chief_app app/command_line.h)

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "usage: cmake -DSOURCE_DIR=<repo> -P check_layers.cmake")
endif()

set(violations 0)
foreach(floor IN LISTS floors)
  list(FIND floors ${floor} own_level)
  file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${floor}/*.cpp ${SOURCE_DIR}/${floor}/*.h)
  foreach(source IN LISTS sources)
    set(is_test FALSE)
    if(source MATCHES "_test\\.cpp$" OR source MATCHES "test_support\\.h$")
      set(is_test TRUE)
    endif()
    file(STRINGS ${SOURCE_DIR}/${source} includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"[^\"]+/[^\"]+\"")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^[^\"]*\"([^\"]+)\".*$" "\\1" header "${line}")
      string(REGEX REPLACE "/.*$" "" folder "${header}")
      set(problem "")
      list(FIND floors ${folder} level)
      if(folder STREQUAL floor)
        # Its own headers: always fine.
      elseif(level GREATER own_level)
        set(problem "a higher folder")
      elseif(level GREATER -1)
        if(NOT is_test AND NOT header STREQUAL "${chief_${folder}}")
          set(problem "not the chief header of ${folder}/ (${chief_${folder}})")
        endif()
      elseif(folder STREQUAL "sim" OR folder STREQUAL "tests")
        if(NOT is_test)
          set(problem "test or simulator code in the product")
        endif()
      endif()
      if(problem)
        message("${source}: #include \"${header}\": ${problem}")
        math(EXPR violations "${violations} + 1")
      endif()
    endforeach()
  endforeach()
endforeach()

if(violations GREATER 0)
  message(FATAL_ERROR "${violations} include(s) break the layering")
endif()
message(STATUS "layering: every include reads top to bottom")
