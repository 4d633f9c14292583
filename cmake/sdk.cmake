# Chooses what target `sdk` is: the vendor SDK named by VK_SONY_SDK_DIR, or
# the simulated SDK under sim/.
#
# vk_sdk_runtime_files(target) puts what the SDK needs at run time beside the
# executable: the vendor's CrAdapter directory (linked), or an empty CrAdapter
# directory for the simulator, so that the start-up adapter check passes.

if(VK_SONY_SDK_DIR)
  # VK_SONY_SDK_DIR is a path on the build machine: a cross build's find root
  # (the target's system directories) does not apply to it.
  find_path(VK_SONY_SDK_INCLUDE_DIR CameraRemote_SDK.h
            PATHS ${VK_SONY_SDK_DIR} PATH_SUFFIXES include CRSDK app/CRSDK NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  find_library(VK_SONY_SDK_LIBRARY Cr_Core
               PATHS ${VK_SONY_SDK_DIR} PATH_SUFFIXES lib external/crsdk NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  get_filename_component(_sdk_lib_dir ${VK_SONY_SDK_LIBRARY} DIRECTORY)
  find_path(VK_SONY_SDK_ADAPTER_PARENT CrAdapter
            PATHS ${_sdk_lib_dir} ${VK_SONY_SDK_DIR} PATH_SUFFIXES lib external/crsdk NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(sdk INTERFACE)
  target_include_directories(sdk SYSTEM INTERFACE ${VK_SONY_SDK_INCLUDE_DIR})
  target_link_libraries(sdk INTERFACE ${VK_SONY_SDK_LIBRARY})
  set(VK_SONY_SDK_HEADERS_DIR ${VK_SONY_SDK_INCLUDE_DIR})
  message(STATUS "vk-sony: vendor SDK headers ${VK_SONY_SDK_INCLUDE_DIR}, library ${VK_SONY_SDK_LIBRARY}")

  function(vk_sdk_runtime_files target)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E create_symlink ${VK_SONY_SDK_ADAPTER_PARENT}/CrAdapter
              $<TARGET_FILE_DIR:${target}>/CrAdapter
      VERBATIM)
  endfunction()
else()
  add_subdirectory(${PROJECT_SOURCE_DIR}/sim ${PROJECT_BINARY_DIR}/sim)
  add_library(sdk INTERFACE)
  target_link_libraries(sdk INTERFACE sim_sdk)
  set(VK_SONY_SDK_HEADERS_DIR ${PROJECT_SOURCE_DIR}/sim/include)
  message(STATUS "vk-sony: simulated SDK")

  function(vk_sdk_runtime_files target)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E make_directory $<TARGET_FILE_DIR:${target}>/CrAdapter
      VERBATIM)
  endfunction()
endif()
