# Finds the host SDK below TavrixSDK_ROOT: its header folder with TavrixSDK.h and its library libTavrixSDK.so.
# Defines TavrixSDK::TavrixSDK.
# The folder is taken as given, not looked up in a sysroot, when cross-building.
find_path(TavrixSDK_INCLUDE_DIR TavrixSDK.h PATH_SUFFIXES include include/TavrixSDK NO_CMAKE_FIND_ROOT_PATH)
find_library(TavrixSDK_LIBRARY TavrixSDK NO_CMAKE_FIND_ROOT_PATH)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(TavrixSDK REQUIRED_VARS TavrixSDK_LIBRARY TavrixSDK_INCLUDE_DIR
  FAIL_MESSAGE "Could NOT find the host SDK: -DTavrixSDK_ROOT=... names its folder, with include/TavrixSDK.h and\
 lib/libTavrixSDK.so in it")
if(TavrixSDK_FOUND AND NOT TARGET TavrixSDK::TavrixSDK)
  add_library(TavrixSDK::TavrixSDK SHARED IMPORTED)
  set_target_properties(TavrixSDK::TavrixSDK PROPERTIES
    IMPORTED_LOCATION ${TavrixSDK_LIBRARY}
    IMPORTED_SONAME libTavrixSDK.so
    INTERFACE_INCLUDE_DIRECTORIES ${TavrixSDK_INCLUDE_DIR})
endif()
