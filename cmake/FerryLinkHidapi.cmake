# FerryLink::hidapi_headers  the C interface alone: what device and worker code compiles against
# FerryLink::hidapi          the real library: what the plug-in links
# Tests link the simulated adapter's library instead of the second one.

add_library(ferrylink_hidapi_headers INTERFACE)
add_library(FerryLink::hidapi_headers ALIAS ferrylink_hidapi_headers)
add_library(ferrylink_hidapi INTERFACE)
add_library(FerryLink::hidapi ALIAS ferrylink_hidapi)

if(WIN32)
  find_path(HIDAPI_INCLUDE_DIR hidapi/hidapi.h REQUIRED)
  find_library(HIDAPI_LIBRARY NAMES hidapi REQUIRED)
  target_include_directories(ferrylink_hidapi_headers SYSTEM INTERFACE "${HIDAPI_INCLUDE_DIR}")
  target_link_libraries(ferrylink_hidapi INTERFACE ferrylink_hidapi_headers "${HIDAPI_LIBRARY}")
else()
  # hidraw rather than libusb: the kernel's HID driver keeps the adapter, and no root is needed with a udev rule.
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HIDAPI REQUIRED IMPORTED_TARGET hidapi-hidraw)
  find_path(HIDAPI_INCLUDE_DIR hidapi/hidapi.h HINTS ${HIDAPI_INCLUDEDIR} REQUIRED)
  target_include_directories(ferrylink_hidapi_headers SYSTEM INTERFACE "${HIDAPI_INCLUDE_DIR}")
  target_link_libraries(ferrylink_hidapi INTERFACE ferrylink_hidapi_headers PkgConfig::HIDAPI)
endif()
