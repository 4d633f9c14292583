# Writes OUTPUT, a header defining VK_SONY_GIT_VERSION as the first nine hex
# digits of the commit checked out in SOURCE_DIR (nine zeros outside a git
# checkout). The file is left untouched when its content would not change.
set(commit "000000000")
find_package(Git QUIET)
if(GIT_FOUND)
  execute_process(COMMAND ${GIT_EXECUTABLE} rev-parse HEAD
                  WORKING_DIRECTORY ${SOURCE_DIR}
                  OUTPUT_VARIABLE head RESULT_VARIABLE failed
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT failed AND head MATCHES "^[0-9a-f]+$")
    string(SUBSTRING "${head}" 0 9 commit)
  endif()
endif()
set(content "// Generated at build time: the commit the binary was built from.\n#define VK_SONY_GIT_VERSION \"${commit}\"\n")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" old)
endif()
if(NOT "${old}" STREQUAL "${content}")
  file(WRITE "${OUTPUT}" "${content}")
endif()
