# For cross-builds: lets CTest, and people, run what was built: through the build folder's `wine-run`, a script that knows
# where the DLLs lie and keeps Wine's files inside the build folder.
# Sets FERRYLINK_RUNTIME_DLLS, the compiler's own DLLs that every program needs beside it.

set(FERRYLINK_RUNTIME_DLLS)
foreach(dll IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${dll}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  get_filename_component(file "${file}" REALPATH)
  if(NOT EXISTS "${file}")
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know where its ${dll} lies")
  endif()
  list(APPEND FERRYLINK_RUNTIME_DLLS "${file}")
endforeach()

set(dll_directories "${FERRYLINK_WINDOWS_SDK}/bin")
foreach(dll IN LISTS FERRYLINK_RUNTIME_DLLS)
  get_filename_component(directory "${dll}" DIRECTORY)
  list(APPEND dll_directories "${directory}")
endforeach()
list(REMOVE_DUPLICATES dll_directories)
list(TRANSFORM dll_directories PREPEND "Z:")
list(JOIN dll_directories ";" FERRYLINK_WINE_DLL_PATH)

configure_file("${PROJECT_SOURCE_DIR}/cmake/wine_run.in" "${PROJECT_BINARY_DIR}/wine-run" @ONLY
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${PROJECT_BINARY_DIR}/wine-run")
