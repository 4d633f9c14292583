# Writes the table of device-property names from the SDK header in use.
#
# Run with: cmake -DHEADER=<dir>/CrDeviceProperty.h -DOUTPUT=<file>.cpp -P this-file
#
# Only the enumerator NAMES of `enum CrDevicePropertyCode` are taken from the
# header; the compiler supplies their values, so implicit values and aliases
# written with another enumerator's name work. The rows keep declaration
# order; the lookup sorts them by code, keeping that order for equal codes.

cmake_minimum_required(VERSION 3.22)

if(NOT HEADER OR NOT OUTPUT)
  message(FATAL_ERROR "device_property_names.cmake needs HEADER and OUTPUT")
endif()

file(READ "${HEADER}" content)

# Drop block comments, then line comments.
while(TRUE)
  string(FIND "${content}" "/*" comment_start)
  if(comment_start EQUAL -1)
    break()
  endif()
  string(SUBSTRING "${content}" ${comment_start} -1 rest)
  string(FIND "${rest}" "*/" comment_length)
  if(comment_length EQUAL -1)
    message(FATAL_ERROR "${HEADER}: unterminated comment")
  endif()
  math(EXPR after "${comment_start} + ${comment_length} + 2")
  string(SUBSTRING "${content}" 0 ${comment_start} before)
  string(SUBSTRING "${content}" ${after} -1 rest)
  set(content "${before} ${rest}")
endwhile()
string(REGEX REPLACE "//[^\n]*" "" content "${content}")

string(FIND "${content}" "enum CrDevicePropertyCode" enum_start)
if(enum_start EQUAL -1)
  message(FATAL_ERROR "${HEADER}: enum CrDevicePropertyCode not found")
endif()
string(SUBSTRING "${content}" ${enum_start} -1 content)
string(FIND "${content}" "{" body_start)
string(FIND "${content}" "}" body_end)
math(EXPR body_start "${body_start} + 1")
math(EXPR body_length "${body_end} - ${body_start}")
string(SUBSTRING "${content}" ${body_start} ${body_length} body)

string(REPLACE ";" "" body "${body}")
string(REPLACE "," ";" enumerators "${body}")

set(rows "")
set(count 0)
foreach(enumerator IN LISTS enumerators)
  string(STRIP "${enumerator}" enumerator)
  if(enumerator STREQUAL "")
    continue()
  endif()
  if(NOT enumerator MATCHES "^(CrDeviceProperty_[A-Za-z0-9_]+)")
    message(FATAL_ERROR "${HEADER}: unexpected enumerator '${enumerator}'")
  endif()
  set(name "${CMAKE_MATCH_1}")
  string(LENGTH "${name}" length)
  string(APPEND rows "    {SCRSDK::${name}, ${length}, \"${name}\"},\n")
  math(EXPR count "${count} + 1")
endforeach()

if(count EQUAL 0)
  message(FATAL_ERROR "${HEADER}: enum CrDevicePropertyCode is empty")
endif()

set(text "// Generated from the SDK's CrDeviceProperty.h by cmake/device_property_names.cmake.
// Do not edit: it is rewritten when the header changes.
#include \"base/device_property_names.h\"

#include \"CrDeviceProperty.h\"

const DevicePropertyName kDevicePropertyNames[] = {
${rows}};

const size_t kDevicePropertyNameCount = ${count};
")

file(WRITE "${OUTPUT}" "${text}")
