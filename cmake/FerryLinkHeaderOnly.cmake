# CLI11::CLI11 and nlohmann_json::nlohmann_json, header-only and the same for every system.
# A cross build reaches the building machine's copies through links of its own: /usr/include as a whole would bring the
# wrong C library along.

if(CMAKE_CROSSCOMPILING)
  set(header_only "${PROJECT_BINARY_DIR}/header-only")
  file(MAKE_DIRECTORY "${header_only}")
  foreach(folder IN ITEMS CLI nlohmann)
    if(NOT EXISTS "/usr/include/${folder}")
      message(FATAL_ERROR "/usr/include/${folder} is missing; install libcli11-dev and nlohmann-json3-dev")
    endif()
    file(CREATE_LINK "/usr/include/${folder}" "${header_only}/${folder}" SYMBOLIC)
  endforeach()
  foreach(target IN ITEMS CLI11::CLI11 nlohmann_json::nlohmann_json)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE "${header_only}")
  endforeach()
else()
  find_package(CLI11 2.1 REQUIRED GLOBAL)
  find_package(nlohmann_json 3.11 REQUIRED GLOBAL)
endif()
