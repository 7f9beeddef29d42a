# Switches of the build and what follows from them for every target.

option(FERRYLINK_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(FERRYLINK_BUILD_BENCHMARKS "Build the programs in bench/" ON)
set(FERRYLINK_SANITIZER "" CACHE STRING
  "Sanitizer for everything: address (with undefined), thread, fuzzer (address, undefined and what libFuzzer needs; clang only), or empty")
set_property(CACHE FERRYLINK_SANITIZER PROPERTY STRINGS "" address thread fuzzer)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Programs and the libraries that they load lie together, on every system.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

if(WIN32)
  # VantorCore.dll rather than libVantorCore.dll, whichever compiler makes it.
  set(CMAKE_SHARED_LIBRARY_PREFIX "")
  set(CMAKE_SHARED_MODULE_PREFIX "")
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

if(FERRYLINK_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(FERRYLINK_SANITIZER STREQUAL "thread")
  # TSan does not model stand-alone fences; the payloads they guard are atomics, so nothing is hidden by that.
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -Wno-tsan)
  add_link_options(-fsanitize=thread)
elseif(FERRYLINK_SANITIZER STREQUAL "fuzzer")
  # Following every comparison takes a half to three quarters of the time, and helps with long constants that an input has
  # to hold; ours are a byte or two, or words of the dictionary. Each check of a pointer is one more edge to count;
  # AddressSanitizer stops the access itself, and the preset asan has every check.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-coverage=trace-cmp
    -fno-sanitize=null,pointer-overflow -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  # What is checked so much looks too large to be inlined, down to a string's operator[]; worth a quarter of the time.
  add_compile_options("SHELL:-mllvm -inline-threshold=1500")
  # An index behind the end of an array inside of an object reaches other members, which no sanitizer minds.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT FERRYLINK_SANITIZER STREQUAL "")
  message(FATAL_ERROR "FERRYLINK_SANITIZER is '${FERRYLINK_SANITIZER}'; use address, thread, fuzzer or nothing")
endif()
