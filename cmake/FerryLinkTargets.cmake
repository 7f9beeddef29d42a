# ferrylink_target(NAME)            what every target of ours gets: warnings, include root
# ferrylink_library(NAME SOURCES..) a static library target ferrylink_NAME with the alias FerryLink::NAME
# ferrylink_describe(TARGET TEXT)   version, product and description, where files carry them: in the DLLs and programs of Windows
# ferrylink_test(NAME SOURCES.. LIBRARIES.. [LABELS..] [QT] [WIDGETS] [VIRTUAL_ADAPTER] [SERIAL])
#   one GoogleTest program of several files; each TEST becomes a ctest entry, or in a cross build the program as a whole.
#   QT runs the tests inside a QCoreApplication, WIDGETS inside an offscreen QApplication;
#   VIRTUAL_ADAPTER links the simulated hidapi in the place of the real one;
#   SERIAL keeps its entries from running at the same time as any other test (for those that measure time).

function(ferrylink_target name)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_options(${name} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wformat=2 -Wundef
    # Mistaken about the standard library where the cross-compiler inlines more of it.
    $<IF:$<PLATFORM_ID:Windows>,-Wno-restrict,-Wnull-dereference>
    # Members that only one system's source uses are part of both systems' classes.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-private-field>
    $<$<BOOL:${FERRYLINK_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()

function(ferrylink_library name)
  add_library(ferrylink_${name} STATIC ${ARGN})
  add_library(FerryLink::${name} ALIAS ferrylink_${name})
  target_include_directories(ferrylink_${name} INTERFACE "${PROJECT_SOURCE_DIR}")
  ferrylink_target(ferrylink_${name})
endfunction()

function(ferrylink_describe target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set(file_type 1)
    set(file_name ${name}.exe)
  else()
    get_target_property(prefix ${target} PREFIX)
    if(NOT prefix)
      set(prefix "")
    endif()
    set(file_type 2)
    set(file_name ${prefix}${name}.dll)
  endif()
  set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${resource}" @ONLY)
  target_sources(${target} PRIVATE "${resource}")
endfunction()

function(ferrylink_test name)
  cmake_parse_arguments(arg "QT;WIDGETS;VIRTUAL_ADAPTER;SERIAL" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS unit) # an empty value would vanish, and the next property's name be taken for the label
  endif()
  set(target ferrylink_test_${name})
  add_executable(${target} ${arg_SOURCES})
  ferrylink_target(${target})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES})
  if(arg_VIRTUAL_ADAPTER)
    target_link_libraries(${target} PRIVATE FerryLink::virtual_hidapi)
  endif()
  if(arg_WIDGETS)
    target_link_libraries(${target} PRIVATE GTest::gmock FerryLink::widgets_test_main)
  elseif(arg_QT)
    target_link_libraries(${target} PRIVATE GTest::gmock FerryLink::qt_test_main)
  else()
    target_link_libraries(${target} PRIVATE GTest::gmock_main)
  endif()
  if("threads" IN_LIST arg_LABELS)
    add_dependencies(ferrylink_threaded_tests ${target})
  endif()
  set(environment "QT_QPA_PLATFORM=offscreen")
  if(CMAKE_CROSSCOMPILING)
    # Offscreen, Qt looks for fonts in this folder alone; Wine brings none.
    list(APPEND environment "QT_QPA_FONTDIR=Z:/usr/share/fonts/truetype/dejavu")
    if(arg_VIRTUAL_ADAPTER)
      list(APPEND environment "FERRYLINK_DLLS_FIRST=$<TARGET_FILE_DIR:ferrylink_virtual_hidapi>")
    endif()
    # Starting an emulated program takes a second or two, so that one for each TEST would take most of the time.
    add_test(NAME ${target} COMMAND ${target} --gtest_brief=1)
    set_tests_properties(${target} PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 300 RUN_SERIAL $<BOOL:${arg_SERIAL}>
      ENVIRONMENT "${environment}")
  else()
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
      PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 120 RUN_SERIAL $<BOOL:${arg_SERIAL}>
        ENVIRONMENT "${environment}")
  endif()
endfunction()
