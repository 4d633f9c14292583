# CTest script: builds the Debian package of the build in BUILD_DIR with cpack,
# unpacks it into a scratch root under WORK_DIR, and runs the unpacked bridge
# through its bin/ link (under EMULATOR, a list, for a cross build):
#   cmake -DCPACK=cpack -DBUILD_DIR=... -DWORK_DIR=... [-DEMULATOR=...] -P package_test.cmake
cmake_minimum_required(VERSION 3.22)

# check("CONDITION" "message"): CONDITION is written as for if().
function(check condition message)
  cmake_language(EVAL CODE "if(NOT (${condition}))
    message(FATAL_ERROR [==[${message}]==])
  endif()")
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CPACK} -G DEB -B ${WORK_DIR}/out --config ${BUILD_DIR}/CPackConfig.cmake
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
check("result EQUAL 0" "cpack failed:\n${output}")
file(GLOB debs ${WORK_DIR}/out/*.deb)
list(LENGTH debs count)
check("count EQUAL 1" "expected one package, found: ${debs}")

execute_process(COMMAND dpkg-deb -f ${debs} Package Depends OUTPUT_VARIABLE fields)
check("fields MATCHES \"Package: vk-sony-sim\"" "package name:\n${fields}")

set(root ${WORK_DIR}/root)
execute_process(COMMAND dpkg-deb -x ${debs} ${root} RESULT_VARIABLE result)
check("result EQUAL 0" "dpkg-deb -x failed")
# dpkg-shlibdeps found the C runtime a dynamically linked executable needs; a
# static one (simulator builds, see VK_SONY_STATIC_LIBSTDCXX) needs none.
execute_process(COMMAND readelf -l ${root}/usr/lib/vk-sony/vk-sony OUTPUT_VARIABLE segments)
if(segments MATCHES "INTERP")
  check("fields MATCHES \"Depends: .*libc6\"" "dependencies:\n${fields}")
else()
  check("NOT fields MATCHES \"Depends:\"" "dependencies of a static executable:\n${fields}")
endif()
file(READ_SYMLINK ${root}/usr/bin/vk-sony target)
check("target STREQUAL \"../lib/vk-sony/vk-sony\"" "usr/bin/vk-sony links to '${target}'")
check("IS_DIRECTORY ${root}/usr/lib/vk-sony/CrAdapter" "no usr/lib/vk-sony/CrAdapter")
check("EXISTS ${root}/usr/share/man/man1/vk-sony.1.gz" "no manual page")

# The adapter check resolves the link to the real executable, so the listing
# through usr/bin works from anywhere; a missing CrAdapter would exit 1.
execute_process(COMMAND ${EMULATOR} ${root}/usr/bin/vk-sony -L WORKING_DIRECTORY ${WORK_DIR}
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
check("result EQUAL 0" "vk-sony -L exited ${result}:\n${output}${errors}")
check("output STREQUAL \"USB|ILME-FX6|D10042\nIP|ILCE-7SM3|192.168.1.10\n\"" "vk-sony -L printed:\n${output}")
file(REMOVE_RECURSE ${WORK_DIR})
