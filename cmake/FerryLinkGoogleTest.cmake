# GTest::gtest, GTest::gmock and GTest::gmock_main. A cross build compiles them from the sources that Debian's package
# googletest brings, since their libraries are packaged for the building machine only.

if(CMAKE_CROSSCOMPILING)
  set(FERRYLINK_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
  if(NOT EXISTS "${FERRYLINK_GOOGLETEST_SOURCE}/CMakeLists.txt")
    message(FATAL_ERROR "${FERRYLINK_GOOGLETEST_SOURCE} has no sources of GoogleTest; install the package googletest")
  endif()
  set(INSTALL_GTEST OFF)
  set(BUILD_SHARED_LIBS OFF)
  add_subdirectory("${FERRYLINK_GOOGLETEST_SOURCE}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)
